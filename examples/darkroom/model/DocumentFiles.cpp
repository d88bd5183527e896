// Opening and saving a document.
#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/model/FileExtras.h"
#include "examples/darkroom/model/MemoryShare.h"
#include "examples/darkroom/model/Progress.h"
#include "examples/darkroom/model/RotateUpright.h"
#include "examples/darkroom/model/Thumbnail.h"

#include <utility>

namespace darkroom {

namespace {

/// Progress of opening, in percent, once the file is read.
constexpr unsigned int kPictureRead = 90;

/// The blocks of metadata, and what a file that lacks one would lose.
constexpr std::pair<std::vector<unsigned char> CqPictureMetadata::*, FileExtra> kBlocks[] = {
    {&CqPictureMetadata::m_Exif, EXTRA_CAMERA},
    {&CqPictureMetadata::m_Xmp, EXTRA_EDITING},
    {&CqPictureMetadata::m_Iptc, EXTRA_PRESS},
    {&CqPictureMetadata::m_Profile, EXTRA_PROFILE}};

/// What a file holds that neither the picture nor its metadata does.
std::uint32_t fnFindMissing(const Outcome& outcome) {
    constexpr std::pair<PICTURE_PART, FileExtra> kParts[] = {
        {PICTURE_PART_PAGES, EXTRA_PAGES},
        {PICTURE_PART_DEPTH, EXTRA_DEPTH},
        {PICTURE_PART_CHANNELS, EXTRA_CHANNELS},
        {PICTURE_PART_PROFILE, EXTRA_PROFILE},
        {PICTURE_PART_NOTES, EXTRA_NOTES}};
    std::uint32_t found = EXTRA_NONE;
    for (const auto& [part, extra] : kParts)
        if (outcome.m_nParts & part)
            found |= extra;
    return found;
}

} // namespace

/// Takes over another picture's storage, and nothing of the former one remains but the title.
void Document::fnTakePixels(CqImage& fresh) noexcept {
    m_nLostBefore = 0;
    m_Image.fnSwapBuf(fresh);
    m_Image.DpiX = fresh.DpiX;
    m_Image.DpiY = fresh.DpiY;
    m_Image.fnSetFioPlugin(fresh.fnGetFioPlugin());
    m_Image.fnSetPluginData(nullptr);
}

Outcome Document::fnOpen(const std::string& path, CqProgressDisplay* progress, bool partial) {
    return fnWithRoom([&] {
        std::string newPath = path;
        CqImage fresh;
        CqPictureMetadata metadata;
        CqPictureLimits limits;
        limits.m_nCodecBytes = fnLimitCodec(fnGetMachineMemory(), limits.m_nCodecBytes);
        limits.m_bPartial = partial;
        limits.m_bDither = true;
        SpanProgress reading(progress, 0, kPictureRead);
        SpanProgress rotating(progress, kPictureRead, 100);
        PictureProgress pictureProgress(&reading);
        Outcome outcome = q32ReadPicture(path.c_str(), fresh, metadata, limits, &pictureProgress);
        if (!outcome.fnIsDone())
            return outcome;
        if (!fnRotateUpright(fresh, metadata.m_nOrientation, &rotating))
            return fnStop();
        if (std::exchange(metadata.m_nOrientation, 1u) > 1)
            fnRemoveThumbnail(metadata.m_Exif); // it still lies on its side
        m_nExtras = fnFindMissing(outcome);
        m_bPartial = outcome.m_bPartial;
        m_Image.Title = fresh.Title; // the last step that may fail
        m_Metadata = std::move(metadata);
        fnTakePixels(fresh);
        fnReset(std::move(newPath), outcome.m_bReduced || outcome.m_bPartial);
        return outcome;
    });
}

const CqPictureFormat* Document::fnFindFormat(const char* path) const {
    const CqPictureFormat* format = q32FindPictureFormat(path);
    for (const CqPictureFormat& one : q32GetPictureFormats())
        if (m_strPath == path && one.m_eFormat == m_Image.fnGetFioPlugin())
            format = &one;
    return format && format->m_bCanWrite ? format : nullptr;
}

Outcome Document::fnSave(const std::string& path, CqProgressDisplay* progress,
                         const CqPictureOptions& options) {
    return fnGuard([&] {
        const CqPictureFormat* format = fnFindFormat(path.c_str());
        if (!format)
            return fnFail(MESSAGE_UNSUPPORTED, path);
        std::string newPath = path;
        const std::uint32_t lost = fnFindLostMetadata(path.c_str());
        PictureProgress pictureProgress(progress);
        CqPictureMetadata metadata = m_Metadata;
        if (m_nState != m_nOpenedState)
            fnRemoveThumbnail(metadata.m_Exif);
        Outcome outcome = q32WritePicture(path.c_str(), m_Image, metadata, format->m_eFormat,
                                          options, &pictureProgress);
        if (outcome.fnIsDone() && fnKeepsAll(path.c_str())) {
            m_nLostBefore = m_strPath == newPath ? m_nLostBefore | lost : lost;
            m_strPath = std::move(newPath);
            m_Image.fnSetFioPlugin(format->m_eFormat);
            m_bReduced = m_bPartial = false;
            m_nSavedState = m_nState;
            m_bModified = false;
            fnNotify();
        }
        return outcome;
    });
}

std::uint32_t Document::fnFindLostMetadata(const char* path) const {
    const CqPictureFormat* const format = fnFindFormat(path);
    std::uint32_t lost = 0;
    for (const auto& [block, extra] : kBlocks) {
        CqPictureMetadata one;
        one.*block = m_Metadata.*block;
        if (format && q32FindLostMetadata(m_Image, one, format->m_eFormat) != 0)
            lost |= extra;
    }
    return m_strPath == path ? lost & ~m_nLostBefore : lost;
}

bool Document::fnKeepsAll(const char* path) const {
    const CqPictureFormat* const format = fnFindFormat(path);
    return format && (format->m_bHasAlpha || m_Image.BitCount != 32);
}

Outcome Document::fnNew(unsigned int width, unsigned int height, const CqColor& color,
                        CqProgressDisplay* progress) {
    return fnWithRoom([&] {
        CqImage fresh;
        fresh.fnAlloc(width, height, 24, nullptr, 0);
        if (!fnFillPicture(fresh, color, progress))
            return fnStop();
        return fnTakeNew(fresh);
    });
}

FileFacts Document::fnGetFileFacts() const {
    return {m_Metadata, m_nExtras, m_bReduced, m_bPartial};
}

void Document::fnSetFileFacts(FileFacts facts) noexcept {
    m_Metadata = std::move(facts.m_Metadata);
    m_Metadata.m_nOrientation = 1;
    m_nExtras = facts.m_nExtras;
    m_bReduced = facts.m_bReduced;
    m_bPartial = facts.m_bPartial;
    fnNotify();
}

void Document::fnMarkUnsaved(std::string former) {
    m_strFormerPath = std::move(former);
    m_nSavedState = m_nOpenedState = 0; // states count from 1
    m_bModified = true;
    m_strPath.clear();
    fnNotify();
}

Outcome Document::fnTakeNew(CqImage& image) {
    return fnGuard([&] {
        m_Image.Title = ""; // the last step that may fail
        m_Metadata = CqPictureMetadata();
        m_bPartial = false;
        fnTakePixels(image);
        fnReset("", false);
        return Outcome();
    });
}

} // namespace darkroom
