// A host uses the system's functions for UTF-16.
// The order is what is tested.
// clang-format off
#define UNICODE
#include <windows.h>
#include "q32Base/q32Base.h"
// clang-format on
#include "tests/platforms/RecordsUse.h"

TEST(Records, AHostMayUseTheSystemsTextsOf16Bits) {
    fnUseSystemAndLibrary();
}
