// A host includes the system's header first, with all that it defines.
// clang-format off: the order is what is tested
#include <windows.h>
#include "q32Base/q32Base.h"
// clang-format on
#include "tests/platforms/RecordsUse.h"

TEST(Records, TheSystemsHeaderMayComeFirst) {
    fnUseSystemAndLibrary();
}
