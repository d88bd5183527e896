/// @file Drawing at any scale, place and gamma, on screens of every depth: nothing outside an image
/// or a bitmap is read (checked by the sanitizers), and a drawn screen stays in its window.

#include "fuzz/FuzzInput.h"

#include <algorithm>
#include <iterator>

namespace {

using namespace q32::fuzz;

/// The screen, with one window on it.
constexpr int kScreen = 64;
constexpr RECT kWindow{8, 12, 52, 56};
constexpr std::uint32_t kUntouched = 0x55;

void fnSetScreen(Input& input, CqHeadlessScreen& screen) {
    static constexpr int kBits[] = {8, 16, 24, 32};
    CqHeadlessMode mode;
    mode.m_nWidth = kScreen;
    mode.m_nHeight = kScreen;
    mode.m_nBits = kBits[input.fnBelow(std::size(kBits))];
    fnCheck(screen.fnSetMode(mode), "the mode is known");
    screen.fnClear(kUntouched);
    CqDisplayProperty& display = *q32GetDisplayProperty();
    display.fnUpdate();
    fnCheck(display.fnEnableGamma(true), "there is memory");
    display.fnSetGammaValue(input.fnFlag() ? 180 : input.fnWord());
    display.fnEnableHiColorDither(input.fnFlag());
}

/// A destination that isn't far outside the window: the work of a fit is in proportion to it.
CRect fnDestination(Input& input) {
    const CRect rect = input.fnRect();
    const auto clamp = [](LONG value) { return std::clamp<LONG>(value, -400, 400); };
    return {clamp(rect.left), clamp(rect.top), clamp(rect.right), clamp(rect.bottom)};
}

void fnSetScale(Input& input, CqImage& image, CWnd& window) {
    const std::uint8_t how = input.fnByte();
    if (how % 3 == 0)
        return image.fnDrawInit(1.0, fnDestination(input), &window);
    const CRect view = input.fnRect();
    const unsigned int factor = how < 250 ? how % 9 : 1000000u * how;
    image.fnDrawInit(factor, how % 3 == 1, view, CPoint(input.fnPlace(), input.fnPlace()), &window);
}

void fnDrawTile(Input& input, CqImage& image, CDC* dc) {
    CqImageTile tile(input.fnFlag());
    image.fnAccessTile(input.fnByte() % image.TileCount, &tile);
    if (input.fnFlag())
        tile.fnDraw(dc);
    else
        tile.fnDraw(input.fnFlag() ? dc : nullptr);
}

void fnDrawLine(Input& input, CqImage& image, CDC* dc) {
    CqImageLine line;
    image.fnAccessLine(input.fnByte() % image.Height, &line, true);
    const auto from = static_cast<int>(input.fnByte() % image.Width);
    const auto count =
        static_cast<int>(input.fnByte() % (image.Width - static_cast<unsigned>(from)));
    const int x = input.fnPlace();
    line.fnDraw(dc, x, input.fnPlace(), count, from, input.fnFlag());
}

void fnDrawOnce(Input& input, CqImage& image, CWnd& window) {
    CClientDC dc(&window);
    fnCheck(static_cast<bool>(dc), "a window has a device context");
    const std::uint8_t how = input.fnByte();
    const int x = input.fnPlace();
    const int y = input.fnPlace();
    switch (how % 6) {
    case 0:
        return fnSetScale(input, image, window);
    case 1: {
        const CRect destination = fnDestination(input);
        image.fnKeyDraw(dc.GetDC(), destination, x, y, CqMergeParam(input.fnColor()),
                        (how & 64) != 0, (how & 128) != 0);
        return;
    }
    case 2:
        return fnDrawTile(input, image, dc.GetDC());
    case 3:
        return fnDrawLine(input, image, dc.GetDC());
    default:
        image.fnDraw(dc.GetDC(), fnDestination(input), x, y, (how & 64) != 0, (how & 128) != 0);
    }
}

void fnCheckSurroundings(const CqHeadlessScreen& screen) {
    for (int y = 0; y < kScreen; ++y)
        for (int x = 0; x < kScreen; ++x)
            if (x < kWindow.left || x >= kWindow.right || y < kWindow.top || y >= kWindow.bottom)
                fnCheck(screen.fnGetRawPixel(x, y) == kUntouched, "drawing stays in its window");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CqHeadlessWorld& world = fnWorld();
    const Balance balance;
    Input input(data, size);
    fnSetScreen(input, *world.m_pScreen);
    const std::unique_ptr<CqImage> image = fnMakeImage(input, 200);
    CqHeadlessWnd window(kWindow);
    image->fnDrawInit(1u, false, CRect(0, 0, 64, 64), CPoint(0, 0), &window);
    for (int calls = 0; calls < 10 && !input.fnIsEmpty(); ++calls)
        fnDrawOnce(input, *image, window);
    fnCheckSurroundings(*world.m_pScreen);
    return 0;
}
