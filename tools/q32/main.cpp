#include "tools/q32/Run.h"

int main(int count, char** words) {
    return tool::fnRunTool({words + (count > 0 ? 1 : 0), words + count});
}
