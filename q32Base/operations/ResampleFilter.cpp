#include "q32Base/framework/Exceptions.h"
#include "q32Base/memory/PixelBuffer.h"
#include "q32Base/operations/PixelArea.h"
#include "q32Base/operations/ProgressRun.h"
#include "q32Base/operations/Resample.h"

namespace q32 {
namespace {

/// What stands between the two passes. It may lie in a scratch file, as an image may.
class IntermediateBuffer {
public:
    IntermediateBuffer(std::uint32_t width, std::uint32_t height, std::uint32_t bytesPerPixel) {
        const std::uint64_t row = std::uint64_t{width} * bytesPerPixel;
        if (row > 0xFFFFFFFFu / height)
            AfxThrowMemoryException();
        m_nSize = static_cast<std::uint32_t>(row * height);
        if (m_nSize != 0) // 4-bit pixels have no bytes
            m_pPixels = AllocPixelBuffer(m_nSize, m_File, m_Mapping, m_szName);
    }
    ~IntermediateBuffer() {
        if (m_pPixels)
            FreePixelBuffer(m_pPixels, m_nSize, &m_File, &m_Mapping, &m_szName);
    }
    IntermediateBuffer(const IntermediateBuffer&) = delete;
    IntermediateBuffer& operator=(const IntermediateBuffer&) = delete;

    unsigned char* fnPixels() const { return m_pPixels; }

private:
    unsigned char* m_pPixels = nullptr;
    std::uint32_t m_nSize;
    CqFileHandle m_File = kNoFile;
    CqMappingHandle m_Mapping = kNoMapping;
    CString m_szName;
};

bool fnFilterRowsFirst(const PixelArea& source, const PixelArea& target, unsigned char* buffer,
                       double scaleX, double scaleY, CqProgressDisplay* progress) {
    const PixelArea between(buffer, target.fnWidth(), source.fnHeight(), target.fnBytesPerPixel());
    return fnFilterWidth(source, between, scaleX, {progress, source.fnHeight(), 0, 50}) &&
           fnFilterHeight(between, target, scaleY, {progress, target.fnWidth(), 50, 50});
}

bool fnFilterColsFirst(const PixelArea& source, const PixelArea& target, unsigned char* buffer,
                       double scaleX, double scaleY, CqProgressDisplay* progress) {
    const PixelArea between(buffer, source.fnWidth(), target.fnHeight(), target.fnBytesPerPixel());
    return fnFilterHeight(source, between, scaleY, {progress, source.fnWidth(), 0, 50}) &&
           fnFilterWidth(between, target, scaleX, {progress, target.fnHeight(), 50, 50});
}

} // namespace

bool fnFilterResample(const CqTileMap& source, CqTileMap& target, double scaleX, double scaleY,
                      CqProgressDisplay* progress) {
    const PixelArea from(source);
    const PixelArea to(target);
    if (source.Width == target.Width)
        return fnFilterHeight(from, to, scaleY, {progress, source.Width});
    if (source.Height == target.Height)
        return fnFilterWidth(from, to, scaleX, {progress, source.Height});
    // The target's shape alone decides, not the cost: the order shows in the pixels.
    const bool rowsFirst = target.Width < target.Height;
    const IntermediateBuffer buffer(rowsFirst ? target.Width : source.Width,
                                    rowsFirst ? source.Height : target.Height,
                                    target.BytesPerPixel);
    return (rowsFirst ? fnFilterRowsFirst : fnFilterColsFirst)(from, to, buffer.fnPixels(), scaleX,
                                                               scaleY, progress);
}

} // namespace q32
