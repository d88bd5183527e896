#include "plugins/PictureFile.h"

#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using namespace q32;

const std::array<const PictureCodec*, 4> kCodecs = {&kPngCodec, &kJpegCodec, &kTiffCodec,
                                                    &kBmpCodec};

constexpr std::size_t kHeadBytes = 16;

char fnLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

const PictureCodec& fnRecognise(CodecInput& input) {
    unsigned char head[kHeadBytes];
    const std::size_t count = input.fnRead(head, kHeadBytes);
    if (input.fnHasFailed())
        throw CodecFailure{MESSAGE_CANNOT_READ};
    if (count == 0)
        throw CodecFailure{MESSAGE_EMPTY};
    const auto* found = std::find_if(kCodecs.begin(), kCodecs.end(), [&](const auto* codec) {
        return codec->m_pKnows(head, count);
    });
    if (found == kCodecs.end())
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    input.fnSeek(0);
    return **found;
}

} // namespace

std::span<const CqPictureFormat> q32GetPictureFormats() {
    static const std::array<CqPictureFormat, kCodecs.size()> formats = [] {
        std::array<CqPictureFormat, kCodecs.size()> all{};
        std::transform(kCodecs.begin(), kCodecs.end(), all.begin(),
                       [](const auto* codec) { return codec->m_Format; });
        return all;
    }();
    return formats;
}

const CqPictureFormat* q32FindPictureFormat(const char* path) {
    const std::string_view name(path);
    const std::size_t dot = name.find_last_of(".\\/");
    if (dot == std::string_view::npos || name[dot] != '.')
        return nullptr;
    const std::string_view extension = name.substr(dot + 1);
    for (const CqPictureFormat& format : q32GetPictureFormats()) {
        std::string_view rest(format.m_pszExtensions);
        while (!rest.empty()) {
            const std::string_view one = rest.substr(0, rest.find(' '));
            if (std::equal(one.begin(), one.end(), extension.begin(), extension.end(),
                           [](char a, char b) { return a == fnLower(b); }))
                return &format;
            rest.remove_prefix(std::min(rest.size(), one.size() + 1));
        }
    }
    return nullptr;
}

CqPictureResult q32ReadPicture(const char* path, CqImage& image, CqPictureProgress* progress) {
    return q32ReadPicture(path, image, CqPictureLimits(), progress);
}

CqPictureResult q32ReadPicture(const char* path, CqImage& image, const CqPictureLimits& limits,
                               CqPictureProgress* progress) {
    bool reduced = false;
    unsigned int reduction = 1;
    CqPictureResult result = fnRunOnFile(path, [&] {
        CodecInput input(path);
        const PictureCodec& codec = fnRecognise(input);
        CqImage fresh;
        {
            PictureTarget target(fresh, input.fnGetLength(), limits, progress);
            input.fnReportTo(&target.fnGetSteps());
            codec.m_pRead(input, target);
            reduced = target.fnIsReduced();
            reduction = target.fnGetReduction();
        }
        // Nothing fails from here on.
        image.fnSwapBuf(fresh);
        image.Title = fresh.Title;
        image.DpiX = fresh.DpiX;
        image.DpiY = fresh.DpiY;
        image.fnSetPluginData(nullptr);
        image.fnSetFioPlugin(codec.m_Format.m_eFormat);
    });
    result.m_bReduced = reduced && result.fnIsDone();
    result.m_nReduction = result.fnIsDone() ? reduction : 1;
    return result;
}

const char* q32GetPictureLimitText(PICTURE_LIMIT limit) {
    switch (limit) {
    case PICTURE_LIMIT_PIXELS:
        return "The picture has more pixels than this program allows.";
    case PICTURE_LIMIT_STORAGE:
        return "The picture needs more space for its pixels than this program allows.";
    case PICTURE_LIMIT_EXPANSION:
        return "The picture is far larger than its file, more than this program allows.";
    case PICTURE_LIMIT_CODEC:
        return "Decoding the picture needs more memory than this program allows.";
    case PICTURE_LIMIT_SCANS:
        return "The picture has more scans than this program allows.";
    case PICTURE_LIMIT_TIME:
        return "Decoding the picture takes longer than this program allows.";
    case PICTURE_LIMIT_NONE:
        break;
    }
    return nullptr;
}

CqPictureResult q32WritePicture(const char* path, CqImage& image, PICTURE_FORMAT format,
                                const CqPictureOptions& options, CqPictureProgress* progress) {
    return fnRunOnFile(path, [&] {
        const auto* found = std::find_if(kCodecs.begin(), kCodecs.end(), [&](const auto* codec) {
            return codec->m_Format.m_eFormat == format;
        });
        if (found == kCodecs.end())
            throw CodecFailure{MESSAGE_UNSUPPORTED};
        if (!image.TileMap)
            throw CodecFailure{MESSAGE_CANNOT_SAVE};
        PictureSource source(image, progress);
        CodecOutput output(path);
        (*found)->m_pWrite(output, source, options);
        output.fnCommit();
    });
}
