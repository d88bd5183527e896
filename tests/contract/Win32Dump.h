/// @file The dump window of Windows, as its user sees and uses it.
#pragma once

#include "tests/contract/ContractProbes.h"

#include <memory>

std::shared_ptr<ContractDump> fnMakeWin32Dump();
