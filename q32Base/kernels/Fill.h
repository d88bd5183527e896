#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the fill kernels of one instruction set into the table, and leaves the others.
void fnUseScalarFill(CqKernels& table);
void fnUseAvx2Fill(CqKernels& table);

} // namespace q32
