#include "main/target/windll/image_convert/row_kernels.cpp"

const RowKernels RowKernels::baseline = rowKernels;
