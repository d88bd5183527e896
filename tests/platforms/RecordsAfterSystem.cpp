// A host includes the system's header first, with all that it defines.
// The order is what is tested.
// clang-format off
#include <windows.h>
#include "q32Base/q32Base.h"
// clang-format on
#include "tests/platforms/RecordsUse.h"

TEST(Records, TheSystemsHeaderMayComeFirst) {
    fnUseSystemAndLibrary();
}
