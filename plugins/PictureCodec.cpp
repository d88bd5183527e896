#include "plugins/PictureCodec.h"

#include "plugins/CqPictureInput.h"

namespace q32 {

void fnReadExactly(CqPictureInput& input, void* out, std::size_t count) {
    if (input.fnRead(out, count) != count)
        throw CqPictureFailure{input.fnHasFailed() ? PICTURE_CANNOT_READ : PICTURE_CORRUPTED};
}

} // namespace q32
