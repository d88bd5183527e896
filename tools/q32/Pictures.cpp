#include "tools/q32/Pictures.h"

#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "tools/q32/Composite.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Session.h"
#include "tools/q32/Texts.h"

#include <cerrno>
#include <utility>
#include <vector>

namespace tool {

namespace {

/// How pixels of a depth are kept and carried.
struct DepthFacts {
    unsigned int m_nBits;
    PIXEL_ORDER m_eOrder;
};

DepthFacts fnGetFacts(Depth depth) {
    switch (depth) {
    case Depth::ARGB32:
        return {32, PIXEL_ARGB32};
    case Depth::GREY8:
        return {8, PIXEL_GREY8};
    case Depth::RGB24:
        break;
    }
    return {24, PIXEL_RGB24};
}

bool fnIsGrey(const CqImage& image) {
    return image.BitCount == 8 && image.fnIsGrayScale();
}

bool fnHasDepth(const CqImage& image, Depth depth) {
    return depth == Depth::GREY8 ? fnIsGrey(image) : image.BitCount == fnGetFacts(depth).m_nBits;
}

CqPictureOptions fnGetOptions(const Words& common) {
    CqPictureOptions options;
    options.m_nQuality = static_cast<unsigned int>(common.fnGetInteger("quality"));
    options.m_nPngEffort = static_cast<unsigned int>(common.fnGetInteger("effort"));
    const std::string& compression = common.fnGetText("compression");
    options.m_eTiffCompression = compression == "deflate" ? PICTURE_DEFLATE
                                 : compression == "none"  ? PICTURE_UNCOMPRESSED
                                                          : PICTURE_LZW;
    return options;
}

/// Replaces the image's storage by that of the same picture in another form.
/// @param change  changes a row of `make`'s pixels; may be empty
template <typename Change>
void fnRemake(CqImage& image, Depth from, Depth to, Session& session, Change change) {
    const DepthFacts made = fnGetFacts(to);
    CqImage fresh;
    fnRequireRoom(image.Width, image.Height, made.m_nBits);
    fresh.fnAlloc(image.Width, image.Height, made.m_nBits,
                  to == Depth::GREY8 ? q32GreyRamp : nullptr, to == Depth::GREY8 ? 256 : 0);
    const CqPixelReader reader(image, fnGetFacts(from).m_eOrder);
    const CqPixelWriter writer(fresh, made.m_eOrder);
    std::vector<unsigned char> row(image.Width * reader.fnGetPixelBytes());
    for (std::uint32_t y = 0; y < image.Height; ++y) {
        if (!reader.fnReadRow(0, y, image.Width, row.data()))
            AfxThrowMemoryException();
        change(row);
        if (!writer.fnWriteRow(0, y, image.Width, row.data()))
            AfxThrowMemoryException();
        session.fnGetProgress().fnReport(y + 1, image.Height);
    }
    image.fnSwapBuf(fresh);
}

} // namespace

FileFacts fnReadFile(const std::string& path, CqImage& image, Session& session) {
    return fnReadFile(path, image, Extent{}, session);
}

FileFacts fnReadFile(const std::string& path, CqImage& image, const Extent& fit, Session& session) {
    session.fnGetProgress().fnBegin("reading " + path);
    CqPictureLimits limits = session.fnGetLimits();
    limits.m_nFitWidth = fit.m_nWidth;
    limits.m_nFitHeight = fit.m_nHeight;
    errno = 0;
    const CqPictureResult result =
        q32ReadPicture(path.c_str(), image, limits, &session.fnGetProgress());
    const int error = errno;
    session.fnGetProgress().fnRequire();
    if (!result.fnIsDone())
        throw Failure{fnExplainReading(path, result, error)};
    return {result.m_bReduced};
}

const CqPictureFormat& fnRequireFormat(const std::string& path) {
    const CqPictureFormat* const format = q32FindPictureFormat(path.c_str());
    if (format && format->m_bCanWrite)
        return *format;
    std::string known;
    for (const CqPictureFormat& one : q32GetPictureFormats())
        if (one.m_bCanWrite)
            known += (known.empty() ? "" : " ") + std::string(one.m_pszExtensions);
    throw UsageError{path + ": the extension must be one of: " + known};
}

void fnSaveFile(const std::string& path, CqImage& image, Session& session) {
    const CqPictureFormat& format = fnRequireFormat(path);
    if (image.BitCount == 32 && !format.m_bHasAlpha)
        fnFlattenAlpha(image, session.fnGetCommon().fnGetColor("background"), session);
    session.fnGetProgress().fnBegin("writing " + path);
    errno = 0;
    const CqPictureResult result =
        q32WritePicture(path.c_str(), image, format.m_eFormat, fnGetOptions(session.fnGetCommon()),
                        &session.fnGetProgress());
    const int error = errno;
    if (result.fnIsDone())
        return; // even if a signal has come since
    session.fnGetProgress().fnRequire();
    throw Failure{fnExplainWriting(path, result, error)};
}

void fnConvertDepth(CqImage& image, Depth depth, Session& session) {
    if (fnHasDepth(image, depth))
        return;
    session.fnGetProgress().fnBegin("convert");
    fnRemake(image, depth, depth, session, [](const auto&) {});
}

void fnMakeTrueColor(CqImage& image, Session& session) {
    if (image.BitCount < 24)
        fnConvertDepth(image, Depth::RGB24, session);
}

void fnMakeTones(CqImage& image, Session& session) {
    if (!fnIsGrey(image))
        fnMakeTrueColor(image, session);
}

void fnFlattenAlpha(CqImage& image, const CqColor& background, Session& session) {
    session.fnGetProgress().fnBegin("flatten");
    fnRemake(image, Depth::ARGB32, Depth::RGB24, session,
             [&](std::vector<unsigned char>& row) { fnFlattenRow(row, background); });
}

void fnRequireRoom(std::uint64_t width, std::uint64_t height, unsigned int bits) {
    constexpr std::uint64_t kMaxSide = 0x7FFFFFFF;
    constexpr std::uint64_t kMaxBytes = 0xFFFFFFFE;
    if (width > kMaxSide || height > kMaxSide || (width * bits + 7) / 8 > kMaxBytes / height)
        throw Failure{"a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                      " pixels is too large: one takes less than 4 GiB"};
}

} // namespace tool
