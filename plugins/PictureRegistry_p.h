#pragma once

#include "plugins/PictureTypes.h"

#include <cstddef>
#include <span>

class CqImage;
class CqPictureCodec;

namespace q32 {

class CodecInput;
class CodecOutput;
class PictureSource;
class PictureTarget;
struct PictureCodec;

/// A format of the library or of the host. All functions throw as those of PictureCodec.
class RegisteredCodec {
public:
    RegisteredCodec() = default;
    explicit RegisteredCodec(const PictureCodec& own) : m_pOwn(&own) {}
    explicit RegisteredCodec(const CqPictureCodec& host) : m_pHost(&host) {}

    bool fnKnows(const unsigned char* head, std::size_t count) const;
    void fnRead(CodecInput& input, PictureTarget& target) const;
    void fnWrite(CodecOutput& output, PictureSource& source, CqImage& image,
                 const CqPictureOptions& options) const;

private:
    const PictureCodec* m_pOwn = nullptr; ///< one of the two is set
    const CqPictureCodec* m_pHost = nullptr;
};

/// All formats, the library's own first; they are never removed. The codec of a format has its
/// index.
std::span<const CqPictureFormat> fnGetFormats();
const RegisteredCodec& fnGetCodec(std::size_t index);

} // namespace q32
