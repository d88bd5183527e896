// A host includes the library first.
// clang-format off: the order is what is tested
#include "q32Base/q32Base.h"
#include <windows.h>
// clang-format on
#include "tests/platforms/RecordsUse.h"

TEST(Records, TheLibrarysHeaderMayComeFirst) {
    fnUseSystemAndLibrary();
}
