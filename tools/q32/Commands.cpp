#include "tools/q32/Commands.h"

#include "tools/q32/Table.h"

#include <algorithm>

namespace tool {

namespace {

constexpr Argument fnFlag(const char* name, const char* help) {
    return {name, Kind::FLAG, help};
}
constexpr Argument fnInteger(const char* name, double low, double high, const char* standard,
                             const char* help) {
    return {name, Kind::INTEGER, help, standard, low, high};
}
constexpr Argument fnNumber(const char* name, double low, double high, const char* standard,
                            const char* help) {
    return {name, Kind::NUMBER, help, standard, low, high};
}
constexpr Argument fnChoice(const char* name, const char* choices, const char* standard,
                            const char* help) {
    return {name, Kind::CHOICE, help, standard, 0, 0, choices};
}

constexpr Argument kSize = {
    "SIZE", Kind::SIZE,
    "1000x800 fits the picture into that box, 1000x or x800 gives one side, 50% both"};
constexpr Argument kJson = fnFlag("json", "prints JSON");

constexpr Argument kCommon[] = {
    {"memory", Kind::BYTES,
     "memory for pixels and decoders, such as 512M or 4G; what doesn't fit goes to scratch files"},
    {"scratch", Kind::FOLDERS, "up to four folders for scratch files, used in this order"},
    {"background", Kind::COLOR,
     "colour behind the picture: #rgb, #rrggbb, #rrggbbaa, black, white or transparent", "white"},
    fnInteger("quality", 1, 100, "90", "quality of a JPEG"),
    fnInteger("effort", 0, 9, "6", "how hard a PNG is compressed"),
    fnChoice("compression", "lzw deflate none", "lzw", "compression of a TIFF"),
    fnFlag("force", "saves over the input even if its file holds more than was read"),
    fnFlag("quiet", "shows no progress and no warnings"),
    fnFlag("help", "explains the command"),
};

constexpr Argument kConvertOptions[] = {
    fnChoice("depth", "24 32 grey", "", "24 bits, 32 bits with alpha, or 256 greys"),
    fnInteger("dpi", 1, 65535, "", "resolution in dots per inch"),
};
constexpr Argument kResizeOptions[] = {
    fnFlag("stretch", "takes both sides as they are, whatever the proportions"),
    fnFlag("nearest", "repeats or leaves out pixels instead of blending them"),
};
constexpr Argument kResizeWords[] = {kSize};
constexpr Argument kRotateWords[] = {
    fnNumber("ANGLE", -360, 360, "", "degrees, clockwise"),
};
constexpr Argument kRotateOptions[] = {
    fnFlag("nearest", "doesn't blend pixels"),
};
constexpr Argument kAdjustOptions[] = {
    fnInteger("brightness", -100, 100, "0", "percent"),
    fnInteger("contrast", -100, 100, "0", "percent"),
    fnNumber("gamma", 0.1, 10, "1", "above 1 lightens the middle tones"),
    fnInteger("red", -100, 100, "0", "weight of red"),
    fnInteger("green", -100, 100, "0", "weight of green"),
    fnInteger("blue", -100, 100, "0", "weight of blue"),
    fnInteger("hue", -180, 180, "0", "degrees around the colour circle"),
    fnInteger("saturation", -100, 100, "0", "percent"),
    fnInteger("threshold", 0, 255, "", "channels from this level up become 255, others 0"),
};
constexpr Argument kFilterWords[] = {
    fnChoice("NAME", "blur sharpen edges emboss weights", "", "the filter"),
};
constexpr Argument kFilterOptions[] = {
    fnInteger("radius", 1, 50, "1", "of blur and sharpen, in pixels"),
    fnInteger("amount", 1, 500, "100", "of sharpen, in percent"),
    {"weights", Kind::WEIGHTS,
     "of the filter weights: 9, 25 or 49 numbers, row by row, divided by their sum unless that is "
     "0"},
};
constexpr Argument kMergeWords[] = {
    {"OVER", Kind::FILE, "the picture that is laid over the other one"},
};
constexpr Argument kMergeOptions[] = {
    {"at", Kind::PLACE, "where its top left corner lies; may be outside", "0,0"},
    fnChoice("rule", "alpha all key mask", "alpha",
             "what covers: by the alpha channel, if there is one; everything; all but a key "
             "colour; by the greys of a mask"),
    {"key", Kind::COLOR, "the key colour", "black"},
    {"mask", Kind::FILE, "the mask, as large as the picture laid over; white covers"},
};
constexpr Argument kThumbnailOptions[] = {
    {"size", Kind::SIZE, "the box; pictures are never enlarged", "256x256"},
    fnChoice("format", "jpg png tif bmp", "jpg", "of thumbnails that are saved in a folder"),
};
constexpr Argument kMontageOptions[] = {
    {"size", Kind::SIZE, "of a cell; pictures are never enlarged", "256x256"},
    fnInteger("columns", 1, 1000, "", "cells side by side; about as many as rows otherwise"),
    fnInteger("gap", 0, 1000, "8", "pixels between the cells and around them"),
};
constexpr Argument kInfoOptions[] = {
    fnFlag("check", "decodes each file to its end, and fails for one that is damaged"), kJson};
constexpr Argument kPlayWords[] = {{"FILE", Kind::FILE, "a WAV file"}};
constexpr Argument kPlayOptions[] = {fnFlag("loop", "plays again and again")};
constexpr Argument kSettingsOptions[] = {
    fnInteger("share", 0, 100, "", "percent of the memory that pixels may take; 0: half"),
    kJson,
};

constexpr Command kCommands[] = {
    {"convert",
     "Saves a picture in another format or depth.",
     "The extension of OUTPUT decides the format: png, jpg, tif or bmp. Formats without an alpha "
     "channel get the picture over the background.",
     Form::CHAIN,
     {},
     kConvertOptions,
     fnConvert,
     nullptr},
    {"resize", "Changes the size of a picture.",
     "The pixels are those of a cubic filter. Palettes become true colour, unless --nearest keeps "
     "them.",
     Form::CHAIN, kResizeWords, kResizeOptions, fnResize, nullptr},
    {"rotate", "Rotates a picture clockwise.",
     "Right angles move pixels and lose nothing. Other angles enlarge the picture and fill its "
     "corners with the background; a transparent one gives it an alpha channel.",
     Form::CHAIN, kRotateWords, kRotateOptions, fnRotate, nullptr},
    {"adjust",
     "Changes tones and colours.",
     "Several changes are made in the order of the options below, whatever their order on the "
     "command line; chain adjust with adjust for another order.",
     Form::CHAIN,
     {},
     kAdjustOptions,
     fnAdjust,
     nullptr},
    {"filter", "Filters each pixel with its neighbours.",
     "blur takes a weighted mean, sharpen adds the difference from that, edges shows steps in any "
     "direction, emboss lights them from the top left, and weights is a filter of your own. Pixels "
     "at the edge are repeated beyond it. Alpha stays.",
     Form::CHAIN, kFilterWords, kFilterOptions, fnFilter, nullptr, fnCheckFilter},
    {"merge", "Lays a picture over another one.",
     "What falls outside is cut off. The lower picture keeps its size.", Form::CHAIN, kMergeWords,
     kMergeOptions, fnMerge, nullptr, fnCheckMerge},
    {"thumbnail",
     "Makes small copies of pictures.",
     "OUTPUT is a file for one picture, and a folder that exists for any number: the copies keep "
     "their names there. A JPEG is decoded at a fraction of its size. A picture that fails doesn't "
     "keep the others from being made.",
     Form::GATHER,
     {},
     kThumbnailOptions,
     nullptr,
     fnRunThumbnail},
    {"montage",
     "Arranges pictures on one sheet.",
     "The pictures fill the rows of OUTPUT from the left, each in the middle of its cell.",
     Form::GATHER,
     {},
     kMontageOptions,
     nullptr,
     fnRunMontage},
    {"info",
     "Describes pictures and WAV files.",
     "The headers of a file are enough for that, whatever its size; damage behind them is found "
     "with --check.",
     Form::FILES,
     {},
     kInfoOptions,
     nullptr,
     fnRunInfo},
    {"play", "Plays a WAV file.", "Space pauses and goes on; Esc and q end. Needs a sound server.",
     Form::ALONE, kPlayWords, kPlayOptions, nullptr, fnRunPlay},
    {"settings",
     "Shows or changes what is kept between runs.",
     "With --scratch or --share, these are stored for all programs that use the library.",
     Form::ALONE,
     {},
     kSettingsOptions,
     nullptr,
     fnRunSettings},
};

} // namespace

std::span<const Command> fnGetCommands() {
    return kCommands;
}

const Command* fnFindCommand(std::string_view name) {
    const auto* found =
        std::ranges::find_if(kCommands, [name](const auto& one) { return one.m_pszName == name; });
    return found == std::end(kCommands) ? nullptr : found;
}

std::span<const Argument> fnGetCommonOptions() {
    return kCommon;
}

} // namespace tool
