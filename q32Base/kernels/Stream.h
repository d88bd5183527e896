#pragma once

#include "q32Base/kernels/Kernels.h"

namespace q32 {

/// Each puts the streaming kernels of one instruction set into the table, and leaves the others.
void fnUseScalarStream(CqKernels& table);
void fnUseAvx2Stream(CqKernels& table);

} // namespace q32
