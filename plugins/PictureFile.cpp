#include "plugins/PictureFile.h"

#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/MetadataSource_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureRegistry_p.h"
#include "plugins/PictureSource_p.h"
#include "plugins/PictureTarget_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/image/CqImage.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace {

using namespace q32;

constexpr std::size_t kHeadBytes = 16;

char fnLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The index of the format by which a file begins.
std::size_t fnRecognise(CodecInput& input) {
    unsigned char head[kHeadBytes];
    const std::size_t count = input.fnRead(head, kHeadBytes);
    if (input.fnHasFailed())
        throw CodecFailure{MESSAGE_CANNOT_READ};
    if (count == 0)
        throw CodecFailure{MESSAGE_EMPTY};
    const std::size_t all = fnGetFormats().size();
    for (std::size_t i = 0; i < all; ++i) {
        if (fnGetCodec(i).fnKnows(head, count)) {
            input.fnSeek(0);
            return i;
        }
    }
    throw CodecFailure{MESSAGE_UNSUPPORTED};
}

/// The index of a format that can be written.
std::size_t fnFindWritable(PICTURE_FORMAT format) {
    const auto formats = fnGetFormats();
    const auto found = std::find_if(formats.begin(), formats.end(), [&](const auto& one) {
        return one.m_eFormat == format && one.m_bCanWrite;
    });
    if (found == formats.end())
        throw CodecFailure{MESSAGE_UNSUPPORTED};
    return static_cast<std::size_t>(found - formats.begin());
}

/// @param metadata  receives the file's; null if the host doesn't ask for it
CqPictureResult fnRead(const char* path, CqImage& image, CqPictureMetadata* metadata,
                       const CqPictureLimits& limits, CqPictureProgress* progress) {
    CqPictureResult facts;
    CqPictureResult result = fnRunOnFile(path, [&] {
        CodecInput input(path);
        const std::size_t format = fnRecognise(input);
        CqImage fresh;
        CqPictureMetadata found;
        {
            PictureTarget target(fresh, input.fnGetLength(), limits, progress,
                                 metadata ? &found : nullptr);
            input.fnReportTo(&target.fnGetSteps());
            fnGetCodec(format).fnRead(input, target);
            facts.m_nParts = target.fnGetParts();
            facts.m_nReduction = target.fnGetReduction();
            facts.m_bPartial = target.fnIsPartial();
        }
        // Nothing fails from here on.
        image.fnSwapBuf(fresh);
        image.Title = fresh.Title;
        image.DpiX = fresh.DpiX;
        image.DpiY = fresh.DpiY;
        image.fnSetPluginData(nullptr);
        image.fnSetFioPlugin(fnGetFormats()[format].m_eFormat);
        if (metadata)
            *metadata = std::move(found);
    });
    if (result.fnIsDone()) {
        result.m_nParts = facts.m_nParts;
        result.m_bReduced = facts.m_nParts != 0;
        result.m_nReduction = facts.m_nReduction;
        result.m_bPartial = facts.m_bPartial;
    }
    return result;
}

} // namespace

std::span<const CqPictureFormat> q32GetPictureFormats() {
    return fnGetFormats();
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
    return fnRead(path, image, nullptr, limits, progress);
}

CqPictureResult q32ReadPicture(const char* path, CqImage& image, CqPictureMetadata& metadata,
                               const CqPictureLimits& limits, CqPictureProgress* progress) {
    return fnRead(path, image, &metadata, limits, progress);
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
    case PICTURE_LIMIT_SOUND_STORAGE:
        return "The sound needs more space for its samples than this program allows.";
    case PICTURE_LIMIT_SOUND_CHUNKS:
        return "The sound has more parts ahead of its samples than this program allows.";
    case PICTURE_LIMIT_SOUND_TIME:
        return "Reading the sound takes longer than this program allows.";
    case PICTURE_LIMIT_NONE:
        break;
    }
    return nullptr;
}

CString q32GetPictureResultText(const CqPictureResult& result) {
    return fnTryMemoryOr(CString(), [&]() -> CString {
        const CString& path = result.m_strPath;
        if (result.m_bAborted)
            return "Stopped: " + path;
        if (result.m_nMsgId == 0)
            return CString();
        CString text = q32MessageText(result.m_nMsgId, path);
        if (text.Find(path) < 0)
            text = path + ": " + text;
        if (const char* limit = q32GetPictureLimitText(result.m_eLimit)) {
            text += ' ';
            text += limit;
        }
        for (int i = 0; i < text.GetLength(); ++i)
            if (text[i] == '\n')
                text.SetAt(i, ' ');
        return text;
    });
}

bool q32ShowPictureResult(const CqPictureResult& result) {
    if (!result.fnIsDone() && !result.m_bAborted)
        q32ShowMsgStr(q32GetPictureResultText(result), MB_ICONHAND);
    return result.fnIsDone();
}

const char* q32GetPicturePartText(PICTURE_PART part) {
    switch (part) {
    case PICTURE_PART_PAGES:
        return "further pictures";
    case PICTURE_PART_DEPTH:
        return "more than 8 bits per channel";
    case PICTURE_PART_CHANNELS:
        return "other channels than red, green, blue and alpha";
    case PICTURE_PART_PROFILE:
        return "a colour profile";
    case PICTURE_PART_ORIENTATION:
        return "an orientation";
    case PICTURE_PART_NOTES:
        return "notes of a camera or editor";
    case PICTURE_PART_OTHER:
        return "notes, a colour profile, or other channels";
    }
    return nullptr;
}

CqPictureResult q32WritePicture(const char* path, CqImage& image, PICTURE_FORMAT format,
                                const CqPictureOptions& options, CqPictureProgress* progress) {
    return q32WritePicture(path, image, CqPictureMetadata(), format, options, progress);
}

CqPictureResult q32WritePicture(const char* path, CqImage& image, const CqPictureMetadata& metadata,
                                PICTURE_FORMAT format, const CqPictureOptions& options,
                                CqPictureProgress* progress) {
    return fnRunOnFile(path, [&] {
        const RegisteredCodec& codec = fnGetCodec(fnFindWritable(format));
        if (!image.TileMap)
            throw CodecFailure{MESSAGE_CANNOT_SAVE};
        const CqPictureMetadata prepared = fnPrepareMetadata(image, metadata, format);
        PictureSource source(image, prepared, progress);
        CodecOutput output(path);
        codec.fnWrite(output, source, image, options);
        output.fnCommit();
    });
}

unsigned int q32FindLostMetadata(const CqImage& image, const CqPictureMetadata& metadata,
                                 PICTURE_FORMAT format) {
    return image.TileMap ? fnFindLostMetadata(image, metadata, format) : 0;
}

CqPictureResult q32WritePicture(const char* path, CqImage& image, const CqPictureOptions& options,
                                CqPictureProgress* progress) {
    const CqPictureFormat* format = q32FindPictureFormat(path);
    // No format has the number 0.
    return q32WritePicture(path, image, format ? format->m_eFormat : PICTURE_FORMAT{}, options,
                           progress);
}
