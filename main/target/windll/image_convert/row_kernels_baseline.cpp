#include "main/target/windll/image_convert/row_kernels_impl.h"

const RowKernels RowKernels::baseline = rowKernels;
