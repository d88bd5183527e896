#include "examples/gallery/Screens.h"

#include "examples/gallery/Saving.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Windows.h"
#include "q32Base/image/CqImageLine.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

/// The screen colour around a picture, as a screen of that depth represents it.
std::uint32_t fnDarkGrey(int depth) {
    return depth == 8 ? 0 : depth == 16 ? 0x3186 : 0x303030;
}

bool fnFits(const CqImage& image, unsigned int factor) {
    return image.Width / factor <= kScreenWidth && image.Height / factor <= kScreenHeight;
}

/// The smallest integer factor that fits a picture into the screen; a thin one is reduced only as
/// far as its shorter side keeps a pixel.
View fnFittingView(const CqImage& image) {
    const unsigned int most = std::min(image.Width, image.Height);
    unsigned int factor = 1;
    while (!fnFits(image, factor) && factor < most)
        ++factor;
    const std::string what = fnFits(image, factor) ? "whole" : "middle";
    return {"fit", factor == 1 ? what : what + ", 1/" + std::to_string(factor), factor, true, 0.5,
            0.5};
}

int fnScaled(unsigned int length, const View& view) {
    return static_cast<int>(view.m_bShrink ? length / view.m_nFactor : length * view.m_nFactor);
}

/// The start of a part of the screen's length inside a longer one.
int fnStart(int scaled, int shown, double place) {
    return std::max(0, static_cast<int>((scaled - shown) * place));
}

} // namespace

std::vector<View> fnMakeViews(CqImage& image, bool corners) {
    std::vector<View> views = {
        fnFittingView(image),
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
    std::erase_if(views, [&](const View& view) {
        return fnScaled(image.Width, view) == 0 || fnScaled(image.Height, view) == 0;
    });
    return views;
}

void fnCopyScreen(const CqHeadlessScreen& screen, const CRect& part, CqImage& copy) {
    const bool indexed = screen.fnGetMode().m_nBits == 8;
    RGBQUAD palette[256] = {};
    for (unsigned int i = 0; indexed && i < 256; ++i) {
        const std::uint32_t color = screen.fnGetHardware().fnGetColor(static_cast<BYTE>(i));
        palette[i] = {static_cast<BYTE>(color), static_cast<BYTE>(color >> 8),
                      static_cast<BYTE>(color >> 16), 0};
    }
    copy.fnAlloc(static_cast<unsigned int>(part.Width()), static_cast<unsigned int>(part.Height()),
                 indexed ? 8 : 24, palette, 256);
    CqImageLine line;
    for (int y = part.top; y < part.bottom; ++y) {
        copy.fnAccessLine(static_cast<unsigned int>(y - part.top), &line, false);
        unsigned char* out = line.LineBuffer;
        for (int x = part.left; x < part.right; ++x) {
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

void Screens::fnDraw(CqImage& image, const View& view, const std::string& file) {
    const int width = fnScaled(image.Width, view);
    const int height = fnScaled(image.Height, view);
    const CSize shown(std::min(width, kScreenWidth), std::min(height, kScreenHeight));
    const CPoint corner((kScreenWidth - shown.cx) / 2, (kScreenHeight - shown.cy) / 2);
    const CRect place(corner, shown);
    const CPoint origin(fnStart(width, shown.cx, view.m_nAcross),
                        fnStart(height, shown.cy, view.m_nDown));

    CqHeadlessWnd window(CRect(0, 0, kScreenWidth, kScreenHeight));
    image.fnDrawInit(view.m_nFactor, view.m_bShrink, place, origin, &window);
    const CClientDC dc(&window);
    if (!dc || !image.fnDraw(dc.GetDC(), place, origin.x, origin.y, false, false)) {
        std::fprintf(stderr, "%s can't be drawn.\n", file.c_str());
        throw Unshown();
    }
}

void Screens::fnShow(CqImage& image, const std::vector<View>& views, const std::string& name,
                     ProgressLine& progress, Section& section) {
    for (const View& view : views)
        section.m_Rows.push_back({"Zoom " + view.m_Label, {}, {}});
    const std::size_t total = views.size() * std::size(kScreenDepths) * std::size(kGammas);
    std::size_t done = 0;
    CqDisplayProperty& display = *q32GetDisplayProperty();
    // The user's own screen settings don't apply here.
    display.fnEnableHiColorDither(true);
    if (!display.fnEnableGamma(true))
        throw Unshown();
    for (const int depth : kScreenDepths) {
        m_World.m_pScreen->fnSetMode({kScreenWidth, kScreenHeight, depth, 96, 96});
        display.fnUpdate();
        for (const unsigned int gamma : kGammas) {
            display.fnSetGammaValue(gamma);
            for (std::size_t i = 0; i < views.size(); ++i) {
                progress.fnReport(static_cast<unsigned int>(100 * done++ / total));
                m_World.m_pScreen->fnClear(fnDarkGrey(depth));
                const std::string file = name + '-' + views[i].m_Name + '-' +
                                         std::to_string(depth) + "bit-gamma" +
                                         std::to_string(gamma) + ".png";
                fnDraw(image, views[i], file);
                CqImage copy;
                fnCopyScreen(*m_World.m_pScreen, CRect(0, 0, kScreenWidth, kScreenHeight), copy);
                fnSavePicture(m_Folder + '/' + file, copy);
                section.m_Rows[i].m_Plates.push_back(
                    {file, std::to_string(depth) + " bits, gamma " + std::to_string(gamma),
                     copy.Width, copy.Height});
            }
        }
    }
}
