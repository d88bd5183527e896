// A host includes the library first.
// The order is what is tested.
// clang-format off
#include "q32Base/q32Base.h"
#include <windows.h>
// clang-format on
#include "tests/platforms/RecordsUse.h"

TEST(Records, TheLibrarysHeaderMayComeFirst) {
    fnUseSystemAndLibrary();
}
