#include "main/target/windll/image_convert/cell_kernels_impl.h"

const CellKernels CellKernels::baseline = cellKernels;
