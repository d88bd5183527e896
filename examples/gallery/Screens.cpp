#include "examples/gallery/Screens.h"

#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/frame/Messages.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CqImageLine.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

/// The colour of the screen around a picture, as a screen of that depth holds it.
std::uint32_t fnDarkGrey(int depth) {
    return depth == 8 ? 0 : depth == 16 ? 0x3186 : 0x303030;
}

/// The smallest whole factor that brings a picture into the screen.
unsigned int fnFitFactor(const CqImage& image) {
    unsigned int factor = 1;
    while (image.Width / factor > kScreenWidth || image.Height / factor > kScreenHeight)
        ++factor;
    return factor;
}

int fnScaled(unsigned int length, const View& view) {
    return static_cast<int>(view.m_bShrink ? length / view.m_nFactor : length * view.m_nFactor);
}

/// The start of a stretch of the screen's length inside a longer one.
int fnStart(int scaled, int shown, double place) {
    return std::max(0, static_cast<int>((scaled - shown) * place));
}

} // namespace

std::vector<View> fnMakeViews(CqImage& image, bool corners) {
    const unsigned int fit = fnFitFactor(image);
    std::vector<View> views = {
        {"fit", fit == 1 ? "whole" : "whole, 1/" + std::to_string(fit), fit, true, 0, 0},
        {"half", "1/2", 2, true, 0.5, 0.5},
        {"one", "1", 1, false, 0.5, 0.5},
        {"two", "2", 2, false, 0.5, 0.5},
        {"three", "3", 3, false, 0.5, 0.5},
    };
    if (corners) {
        views.push_back({"nw", "1, top left", 1, false, 0, 0});
        views.push_back({"ne", "1, top right", 1, false, 1, 0});
        views.push_back({"sw", "1, bottom left", 1, false, 0, 1});
        views.push_back({"se", "1, bottom right", 1, false, 1, 1});
        views.push_back({"se3", "3, bottom right", 3, false, 1, 1});
    }
    return views;
}

bool Screens::fnDraw(CqImage& image, const View& view) {
    const int width = fnScaled(image.Width, view);
    const int height = fnScaled(image.Height, view);
    const CSize shown(std::min(width, kScreenWidth), std::min(height, kScreenHeight));
    const CPoint corner((kScreenWidth - shown.cx) / 2, (kScreenHeight - shown.cy) / 2);
    const CRect place(corner, shown);
    const CPoint origin(fnStart(width, shown.cx, view.m_nAcross),
                        fnStart(height, shown.cy, view.m_nDown));

    CqHeadlessWnd window(CRect(0, 0, kScreenWidth, kScreenHeight));
    image.fnDrawInit(view.m_nFactor, view.m_bShrink, place, origin, &window);
    CDC* dc = window.GetDC();
    const bool done = dc && image.fnDraw(dc, place, origin.x, origin.y, false, false);
    if (dc)
        window.ReleaseDC(dc);
    return done;
}

/// A screen of 256 colours keeps its palette; all others become 24 bits.
void Screens::fnCopyScreen(CqImage& copy) const {
    const CqHeadlessScreen& screen = *m_World.m_pScreen;
    const bool indexed = screen.fnGetMode().m_nBits == 8;
    RGBQUAD palette[256] = {};
    for (unsigned int i = 0; indexed && i < 256; ++i) {
        const std::uint32_t color = screen.fnGetHardware().fnGetColor(static_cast<BYTE>(i));
        palette[i] = {static_cast<BYTE>(color), static_cast<BYTE>(color >> 8),
                      static_cast<BYTE>(color >> 16), 0};
    }
    copy.fnAlloc(kScreenWidth, kScreenHeight, indexed ? 8 : 24, palette, 256);
    CqImageLine line;
    for (int y = 0; y < kScreenHeight; ++y) {
        copy.fnAccessLine(static_cast<unsigned int>(y), &line, false);
        unsigned char* out = line.LineBuffer;
        for (int x = 0; x < kScreenWidth; ++x) {
            if (indexed) {
                *out++ = static_cast<unsigned char>(screen.fnGetRawPixel(x, y));
                continue;
            }
            const std::uint32_t color = screen.fnGetPixel(x, y);
            *out++ = static_cast<unsigned char>(color >> 16);
            *out++ = static_cast<unsigned char>(color >> 8);
            *out++ = static_cast<unsigned char>(color);
        }
    }
}

bool Screens::fnSave(const std::string& file) {
    CqImage copy;
    fnCopyScreen(copy);
    const CqPictureResult result =
        q32WritePicture((m_Folder + '/' + file).c_str(), copy, PICTURE_PNG);
    if (!result.fnIsDone())
        q32ShowMsg(result.m_nMsgId, nullptr, result.m_strPath, nullptr, 0);
    return result.fnIsDone();
}

std::vector<Shot> Screens::fnShow(CqImage& image, const std::vector<View>& views,
                                  const std::string& name, ProgressLine& progress) {
    std::vector<Shot> shots;
    const std::size_t total = views.size() * std::size(kScreenDepths) * std::size(kGammas);
    CqDisplayProperty& display = *q32GetDisplayProperty();
    for (const int depth : kScreenDepths) {
        m_World.m_pScreen->fnSetMode({kScreenWidth, kScreenHeight, depth, 96, 96});
        display.fnUpdate();
        for (const unsigned int gamma : kGammas) {
            display.fnSetGammaValue(gamma);
            for (const View& view : views) {
                progress.fnTell(static_cast<unsigned int>(shots.size() * 100 / total));
                m_World.m_pScreen->fnClear(fnDarkGrey(depth));
                const std::string file = name + '-' + view.m_Name + '-' + std::to_string(depth) +
                                         "bit-gamma" + std::to_string(gamma) + ".png";
                if (!fnDraw(image, view)) {
                    progress.fnClear();
                    std::fprintf(stderr, "%s can't be drawn.\n", file.c_str());
                    return shots;
                }
                if (!fnSave(file))
                    return shots;
                shots.push_back({file, view, depth, gamma});
            }
        }
    }
    return shots;
}
