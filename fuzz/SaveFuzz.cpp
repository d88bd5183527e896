/// @file Pictures of every depth, saved in every format and read back: the same colours, except
/// from a JPEG.

#include "fuzz/FuzzInput.h"
#include "plugins/PictureFile.h"
#include "q32Base/image/PixelAccess.h"

namespace {

using namespace q32::fuzz;

constexpr char kPath[] = "C:\\Temp\\saved";

Bytes fnColors(const CqImage& image) {
    const std::size_t stride = std::size_t{4} * image.Width;
    Bytes colors(stride * image.Height);
    const CRect all(0, 0, static_cast<LONG>(image.Width), static_cast<LONG>(image.Height));
    fnCheck(q32ReadPixels(image, all, PIXEL_ARGB32, colors.data(), stride), "pixels are read");
    return colors;
}

class Progress : public CqPictureProgress {
public:
    explicit Progress(unsigned int abortAt) : m_nAbortAt(abortAt) {}
    void fnOnProgress(unsigned int percent, bool& aborted) override {
        fnCheck(percent >= m_nLast && percent <= 100, "progress never decreases");
        fnCheck(m_nCalls < m_nAbortAt, "an abort ends the work");
        m_nLast = percent;
        aborted = ++m_nCalls == m_nAbortAt;
    }

    unsigned int m_nCalls = 0;

private:
    unsigned int m_nAbortAt;
    unsigned int m_nLast = 0;
};

void fnCompare(const CqImage& saved, const CqImage& read, PICTURE_FORMAT format) {
    fnCheck(read.Width == saved.Width && read.Height == saved.Height, "the size is kept");
    fnCheck(read.fnGetFioPlugin() == format, "the format is known");
    if (format != PICTURE_JPEG)
        fnCheck(fnColors(read) == fnColors(saved), "the colours are kept");
}

void fnSetPalette(Input& input, CqImage& image) {
    RGBQUAD entries[256];
    const unsigned int count = input.fnByte();
    for (unsigned int i = 0; i < count; ++i) {
        const CqColor color = input.fnColor();
        entries[i] = {color.m_Blue, color.m_Green, color.m_Red, 0};
    }
    image.fnSetPaletteEntry(input.fnByte(), count, entries);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fnWorld();
    const Balance balance;
    Input input(data, size);
    const std::unique_ptr<CqImage> image = fnMakeImage(input, 140);
    const auto format = static_cast<PICTURE_FORMAT>(1 + input.fnBelow(4));
    CqPictureOptions options;
    options.m_nQuality = input.fnByte();
    options.m_nPngEffort = input.fnBelow(12);
    options.m_eTiffCompression = static_cast<PICTURE_COMPRESSION>(input.fnBelow(3));
    const unsigned int abortAt = input.fnByte();
    Progress progress(abortAt ? abortAt : ~0u);
    image->DpiX = input.fnPlace();
    image->DpiY = input.fnPlace();
    image->Title = input.fnString(300).c_str();
    if (image->BitCount <= 8)
        fnSetPalette(input, *image);
    const CqPictureResult saved = q32WritePicture(kPath, *image, format, options, &progress);
    fnCheck(saved.fnIsDone() != (progress.m_nCalls == abortAt), "saved, or aborted");
    if (!saved.fnIsDone())
        return 0;
    CqImage read;
    fnCheck(q32ReadPicture(kPath, read).fnIsDone(), "what is saved can be read");
    fnCompare(*image, read, format);
    return 0;
}
