#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the turning kernels of one instruction set into the table, and leaves the others.
void fnUseScalarTurn(CqKernels& table);
void fnUseAvx2Turn(CqKernels& table);

} // namespace q32
