#include "main/target/windll/image_convert/cell_kernels.cpp"

const CellKernels CellKernels::baseline = cellKernels;
