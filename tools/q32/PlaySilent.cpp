#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"

namespace tool {

int fnRunPlay(const CommandLine&) {
    throw Failure{"play: this build has no sound"};
}

} // namespace tool
