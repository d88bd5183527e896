#include "plugins/CqPictureCodec.h"

#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/CodecSamples_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"

#include <algorithm>

using namespace q32;

namespace {

/// Runs `work` unless there was a failure, and stores what it throws as that.
template <typename Work>
bool fnStoreFailure(std::exception_ptr& failure, const Work& work) noexcept {
    if (failure)
        return false;
    try {
        work();
        return true;
    } catch (...) {
        failure = std::current_exception();
        return false;
    }
}

bool fnStoreMessage(std::exception_ptr& failure, CQ_MESSAGE message) noexcept {
    return fnStoreFailure(failure, [&] { throw CodecFailure{message}; });
}

[[noreturn]] void fnThrow(const std::exception_ptr& failure, CQ_MESSAGE otherwise) {
    if (failure)
        std::rethrow_exception(failure);
    throw CodecFailure{otherwise};
}

} // namespace

CqPictureReader::CqPictureReader(CodecInput& input, PictureTarget& target)
    : m_Input(input), m_Target(target) {}

template <typename Work>
bool CqPictureReader::fnTry(const Work& work) noexcept {
    return fnStoreFailure(m_pFailure, work);
}

bool CqPictureReader::fnRead(void* out, std::size_t count) noexcept {
    return fnTry([&] { fnReadExactly(m_Input, out, count); });
}

std::size_t CqPictureReader::fnReadSome(void* out, std::size_t count) noexcept {
    std::size_t done = 0;
    fnTry([&] {
        done = m_Input.fnRead(out, count);
        if (m_Input.fnHasFailed())
            m_Input.fnFail(CodecFailure{MESSAGE_CANNOT_READ});
    });
    return m_pFailure ? 0 : done;
}

void CqPictureReader::fnSeek(std::uint64_t position) noexcept {
    m_Input.fnSeek(position);
}

std::uint64_t CqPictureReader::fnGetPosition() const noexcept {
    return m_Input.fnGetPosition();
}

std::uint64_t CqPictureReader::fnGetLength() const noexcept {
    return m_Input.fnGetLength();
}

bool CqPictureReader::fnCheckMemory(std::uint64_t bytes) noexcept {
    return fnTry([&] { m_Target.fnCheckCodecBytes(CheckedSize(bytes)); });
}

bool CqPictureReader::fnAlloc(std::uint64_t width, std::uint64_t height, unsigned int bitCount,
                              const RGBQUAD* palette, unsigned int count) noexcept {
    return fnTry([&] {
        const unsigned int depths[] = {4, 8, 16, 24, 32};
        const unsigned int colors = bitCount <= 8 ? 1u << bitCount : 0;
        if (std::find(std::begin(depths), std::end(depths), bitCount) == std::end(depths) ||
            (bitCount <= 8 && palette && palette != q32GreyRamp && count > colors) ||
            m_Target.fnGetImage().TileMap)
            throw CodecFailure{MESSAGE_CORRUPTED};
        m_Target.fnAlloc(width, height, bitCount, palette, count);
    });
}

bool CqPictureReader::fnWriteRow(std::uint64_t y, const void* pixels, PIXEL_ORDER order) noexcept {
    if (!m_Target.fnNeedsPixels())
        return false; // the codec gives up, and its headers are known
    return fnTry([&] {
        CqImage& image = m_Target.fnGetImage();
        if (y >= image.Height) // of an image without storage, too
            throw CodecFailure{MESSAGE_CORRUPTED};
        if (!m_Pixels || m_eOrder != order)
            m_Pixels.emplace(image, m_eOrder = order);
        if (!m_Pixels->fnWriteRow(0, static_cast<std::uint32_t>(y), image.Width, pixels))
            throw CodecFailure{MESSAGE_NO_MEMORY}; // its scratch file lost pixels
        m_nRows = std::min<std::uint64_t>(m_nRows + 1, image.Height);
        m_Target.fnReport(m_nRows, image.Height);
    });
}

bool CqPictureReader::fnReport(std::uint64_t done, std::uint64_t total) noexcept {
    return fnTry([&] { m_Target.fnReport(done, std::max<std::uint64_t>(total, 1)); });
}

bool CqPictureReader::fnSetTitle(const char* title) noexcept {
    return fnTry([&] { m_Target.fnSetTitle(title); });
}

void CqPictureReader::fnSetDotsPerInch(double x, double y) noexcept {
    m_Target.fnSetDotsPerMeter(x * kInchesPerMeter, y * kInchesPerMeter);
}

void CqPictureReader::fnNoteReduced(unsigned int parts) noexcept {
    m_Target.fnNoteReduced(parts);
}

bool CqPictureReader::fnFail(CQ_MESSAGE message) noexcept {
    return fnStoreMessage(m_pFailure, message);
}

void CqPictureReader::fnFinish(bool done) const {
    const CqImage& image = m_Target.fnGetImage();
    if (!m_Target.fnNeedsPixels() && !m_pFailure && image.TileMap)
        return;
    if (m_pFailure || !done || !image.TileMap || m_nRows < image.Height)
        fnThrow(m_pFailure, MESSAGE_CORRUPTED);
}

CqPictureWriter::CqPictureWriter(CodecOutput& output, PictureSource& source, CqImage& image,
                                 const CqPictureOptions& options)
    : m_Output(output), m_Source(source), m_Image(image), m_Options(options) {}

template <typename Work>
bool CqPictureWriter::fnTry(const Work& work) noexcept {
    return fnStoreFailure(m_pFailure, work);
}

bool CqPictureWriter::fnReadRow(std::uint64_t y, void* out, PIXEL_ORDER order) noexcept {
    return fnTry([&] {
        if (y >= m_Image.Height)
            throw CodecFailure{MESSAGE_CANNOT_SAVE};
        if (!m_Pixels || m_eOrder != order)
            m_Pixels.emplace(m_Image, m_eOrder = order);
        if (!m_Pixels->fnReadRow(0, static_cast<std::uint32_t>(y), m_Image.Width, out))
            throw CodecFailure{MESSAGE_NO_MEMORY}; // its scratch file lost pixels
        m_nRows = std::min<std::uint64_t>(m_nRows + 1, m_Image.Height);
        m_Source.fnReport(m_nRows, m_Image.Height);
    });
}

bool CqPictureWriter::fnReport(std::uint64_t done, std::uint64_t total) noexcept {
    return fnTry([&] { m_Source.fnReport(done, std::max<std::uint64_t>(total, 1)); });
}

bool CqPictureWriter::fnWrite(const void* bytes, std::size_t count) noexcept {
    return fnTry([&] {
        if (!m_Output.fnWrite(bytes, count))
            throw CodecFailure{MESSAGE_CANNOT_SAVE};
    });
}

bool CqPictureWriter::fnSeek(std::uint64_t position) noexcept {
    return fnTry([&] {
        if (!m_Output.fnSeek(position))
            throw CodecFailure{MESSAGE_CANNOT_SAVE};
    });
}

std::uint64_t CqPictureWriter::fnGetPosition() const noexcept {
    return m_Output.fnGetPosition();
}

bool CqPictureWriter::fnFail(CQ_MESSAGE message) noexcept {
    return fnStoreMessage(m_pFailure, message);
}

void CqPictureWriter::fnFinish(bool done) const {
    if (m_pFailure || !done)
        fnThrow(m_pFailure, MESSAGE_CANNOT_SAVE);
}
