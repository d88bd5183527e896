#include "plugins/CqPictureCodec.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureRegistry_p.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>

namespace q32 {
namespace {

constexpr std::size_t kMaxFormats = 32;

/// Entries below the count never change, so they are read without the lock.
struct Registry {
    Registry() {
        for (const PictureCodec* codec : {&kPngCodec, &kJpegCodec, &kTiffCodec, &kBmpCodec})
            fnAppend(codec->m_Format, RegisteredCodec(*codec));
    }

    void fnAppend(const CqPictureFormat& format, const RegisteredCodec& codec) {
        const std::size_t index = m_nCount;
        m_Formats[index] = format;
        m_Codecs[index] = codec;
        m_nCount = index + 1;
    }

    std::array<CqPictureFormat, kMaxFormats> m_Formats{};
    std::array<RegisteredCodec, kMaxFormats> m_Codecs;
    std::atomic<std::size_t> m_nCount = 0;
    std::mutex m_Lock; ///< held while one is added
};

Registry& fnRegistry() {
    static Registry registry;
    return registry;
}

/// Runs a function of the host's codec. What it throws, but for exhausted memory, is `otherwise`.
template <typename Work>
bool fnCallHost(CQ_MESSAGE otherwise, const Work& work) {
    try {
        return work();
    } catch (CMemoryException*) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (CException* exception) {
        exception->Delete();
    } catch (...) {
    }
    throw CodecFailure{otherwise};
}

} // namespace

bool RegisteredCodec::fnKnows(const unsigned char* head, std::size_t count) const {
    return m_pOwn ? m_pOwn->m_pKnows(head, count) : m_pHost->fnKnows(head, count);
}

void RegisteredCodec::fnRead(CodecInput& input, PictureTarget& target) const {
    if (m_pOwn) {
        m_pOwn->m_pRead(input, target);
        return;
    }
    CqPictureReader reader(input, target);
    reader.fnFinish(fnCallHost(MESSAGE_CORRUPTED, [&] { return m_pHost->fnRead(reader); }));
}

void RegisteredCodec::fnWrite(CodecOutput& output, PictureSource& source, CqImage& image,
                              const CqPictureOptions& options) const {
    if (m_pOwn) {
        m_pOwn->m_pWrite(output, source, options);
        return;
    }
    CqPictureWriter writer(output, source, image, options);
    writer.fnFinish(fnCallHost(MESSAGE_CANNOT_SAVE, [&] { return m_pHost->fnWrite(writer); }));
}

std::span<const CqPictureFormat> fnGetFormats() {
    const Registry& registry = fnRegistry();
    return {registry.m_Formats.data(), registry.m_nCount};
}

const RegisteredCodec& fnGetCodec(std::size_t index) {
    return fnRegistry().m_Codecs[index];
}

} // namespace q32

bool q32AddPictureFormat(const CqPictureCodec& codec) {
    const CqPictureFormat format = codec.fnGetFormat();
    if (format.m_eFormat < PICTURE_OF_HOST || !format.m_pszName || !format.m_pszExtensions)
        return false;
    q32::Registry& registry = q32::fnRegistry();
    const std::lock_guard lock(registry.m_Lock);
    const auto formats = q32::fnGetFormats();
    if (formats.size() == q32::kMaxFormats ||
        std::any_of(formats.begin(), formats.end(), [&](const CqPictureFormat& other) {
            return other.m_eFormat == format.m_eFormat;
        }))
        return false;
    registry.fnAppend(format, q32::RegisteredCodec(codec));
    return true;
}
