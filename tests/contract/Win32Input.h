/// @file Boxes and the keyboard of Windows, as the user operates them.
#pragma once

#include "tests/contract/ContractProbes.h"

#include <memory>

std::shared_ptr<ContractBoxes> fnMakeWin32Boxes();
std::shared_ptr<ContractKeys> fnMakeWin32Keys();
