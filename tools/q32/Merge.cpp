#include "q32Base/framework/Exceptions.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/image/PixelAccess.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Composite.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Pictures.h"
#include "tools/q32/Session.h"

namespace tool {

namespace {

constexpr std::size_t kPixel = 4;
constexpr unsigned char kOpaque = 255;

Weights fnWeightAll() {
    return [](std::vector<unsigned char>& row, std::uint32_t) {
        for (std::size_t i = 0; i < row.size(); i += kPixel)
            row[i] = kOpaque;
    };
}

Weights fnWeightByKey(const CqColor& key) {
    return [key](std::vector<unsigned char>& row, std::uint32_t) {
        for (std::size_t i = 0; i < row.size(); i += kPixel)
            row[i] =
                row[i + 1] == key.m_Red && row[i + 2] == key.m_Green && row[i + 3] == key.m_Blue
                    ? 0
                    : kOpaque;
    };
}

/// @param mask  outlives the weights; as large as the upper picture
Weights fnWeightByMask(const CqImage& mask) {
    return [&mask, greys = std::vector<unsigned char>(mask.Width)](std::vector<unsigned char>& row,
                                                                   std::uint32_t y) mutable {
        if (!q32ReadPixels(mask,
                           CRect(0, static_cast<LONG>(y), static_cast<LONG>(mask.Width),
                                 static_cast<LONG>(y) + 1),
                           PIXEL_GREY8, greys.data(), greys.size()))
            AfxThrowMemoryException();
        for (std::size_t i = 0; i < greys.size(); ++i)
            row[i * kPixel] = greys[i];
    };
}

} // namespace

void fnConvert(CqImage& image, const Words& words, Session& session) {
    if (words.fnHas("depth")) {
        const std::string& depth = words.fnGetText("depth");
        fnConvertDepth(image,
                       depth == "24"   ? Depth::RGB24
                       : depth == "32" ? Depth::ARGB32
                                       : Depth::GREY8,
                       session);
    }
    if (words.fnHas("dpi"))
        image.DpiX = image.DpiY = words.fnGetInteger("dpi");
}

void fnCheckMerge(const Words& words) {
    if ((words.fnGetText("rule") == "mask") != words.fnHas("mask"))
        throw UsageError{"merge: the rule mask, and no other, needs --mask"};
}

void fnMerge(CqImage& image, const Words& words, Session& session) {
    const std::string& rule = words.fnGetText("rule");
    CqImage over;
    CqImage mask;
    fnReadFile(words.fnGetText("OVER"), over, session);
    Weights weights; // none: the picture's own alpha
    if (rule == "all")
        weights = fnWeightAll();
    if (rule == "key")
        weights = fnWeightByKey(words.fnGetColor("key"));
    if (rule == "mask") {
        fnReadFile(words.fnGetText("mask"), mask, session);
        if (mask.Width != over.Width || mask.Height != over.Height)
            throw Failure{words.fnGetText("mask") + ": isn't as large as " +
                          words.fnGetText("OVER")};
        weights = fnWeightByMask(mask);
    }
    fnMakeTrueColor(image, session);
    session.fnGetProgress().fnBegin("merge");
    fnComposite(image, over, words.fnGetPlace("at"), weights, session);
}

} // namespace tool
