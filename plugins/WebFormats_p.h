#pragma once

#include "plugins/CqPictureCodec.h"

namespace q32 {

class GifCodec final : public CqPictureCodec {
public:
    CqPictureFormat fnGetFormat() const noexcept override;
    bool fnKnows(const unsigned char* head, std::size_t count) const noexcept override;
    bool fnRead(CqPictureReader& reader) const override;
    bool fnWrite(CqPictureWriter& writer) const override;
};

class WebpCodec final : public CqPictureCodec {
public:
    CqPictureFormat fnGetFormat() const noexcept override;
    bool fnKnows(const unsigned char* head, std::size_t count) const noexcept override;
    bool fnRead(CqPictureReader& reader) const override;
    bool fnWrite(CqPictureWriter& writer) const override;
};

} // namespace q32
