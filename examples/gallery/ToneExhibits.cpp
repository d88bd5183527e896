// Brightness, contrast, colour balance, hue, saturation and thresholds.
#include "examples/gallery/ExhibitPictures.h"
#include "examples/gallery/Exhibits.h"

namespace {

template <int BRIGHTNESS, int CONTRAST>
void fnBright(Easel& easel) {
    easel.m_Picture.fnBrightContrast(BRIGHTNESS, CONTRAST, false, nullptr);
}

template <int RED, int GREEN, int BLUE>
void fnBalance(Easel& easel) {
    easel.m_Picture.fnColorBalance(RED, GREEN, BLUE, false, nullptr);
}

template <int HUE, int SATURATION>
void fnShiftHue(Easel& easel) {
    easel.m_Picture.fnHueSaturation(HUE, SATURATION, false, nullptr);
}

template <unsigned char LEVEL>
void fnThreshold(Easel& easel) {
    easel.m_Picture.fnThresholding(LEVEL, false, nullptr);
}

/// A step after a change of depth.
template <void (*DEPTH)(CqImage&), void (*DO)(Easel&)>
void fnAt(Easel& easel) {
    DEPTH(easel.m_Picture);
    DO(easel);
}

constexpr Step kBrightness[] = {
    kBefore,
    {"Brightness 40: what was bright is cut off", fnBright<40, 0>},
    {"Brightness -40", fnBright<-40, 0>},
    {"Contrast 50", fnBright<0, 50>},
    {"Contrast -50", fnBright<0, -50>},
    {"8 bits, 216 colours, brightness 40: indices are moved like grey levels, so that colours "
     "become others",
     fnAt<fnToIndexed, fnBright<40, 0>>},
};

constexpr Step kBalance[] = {
    kBefore,
    {"Red 60", fnBalance<60, 0, 0>},
    {"Green 60", fnBalance<0, 60, 0>},
    {"Blue 60", fnBalance<0, 0, 60>},
    {"Red 40, blue -40: an evening", fnBalance<40, 0, -40>},
    {"Red -40, blue 40: a morning", fnBalance<-40, 0, 40>},
};

constexpr Step kHues[] = {
    kBefore,
    {"Hue turned by 120 degrees", fnShiftHue<120, 0>},
    {"Hue turned by -120 degrees", fnShiftHue<-120, 0>},
    {"Saturation 25: percent of the full scale are added", fnShiftHue<0, 25>},
    {"Saturation -100: brightness stays the greatest channel", fnShiftHue<0, -100>},
    {"16 bits, saturation 25: green is misread, and pixels come back with their bytes exchanged",
     fnAt<fnToHiColor, fnShiftHue<0, 25>>},
};

constexpr Step kThresholds[] = {
    {"24 bits, level 128: each channel for itself", fnThreshold<128>},
    {"24 bits, level 64", fnThreshold<64>},
    {"8 bits, grey, level 128", fnAt<fnToGrey, fnThreshold<128>>},
};

constexpr Exhibit kExhibits[] = {
    {"bright", "Brightness and contrast", "In percent, from -100 to 100.", fnFirst, kBrightness},
    {"balance", "Colour balance",
     "Weights of the channels from -100 to 100: a gamma curve, squeezed between two end points.",
     fnFirst, kBalance},
    {"hue", "Hue and saturation", "Degrees and percent. Greys stay.", fnFirst, kHues},
    {"threshold", "Thresholds", "Every byte becomes 0 or 255.", fnFirst, kThresholds},
};

} // namespace

std::span<const Exhibit> fnToneExhibits() {
    return kExhibits;
}
