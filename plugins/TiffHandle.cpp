#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/TiffHandle_p.h"

#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace q32 {

namespace {

/// Limit of a single allocation by libtiff; tags of a corrupt file may request any size.
constexpr tmsize_t kMaxBlockBytes = tmsize_t{1} << 30;

TiffHandle& fnHandle(thandle_t handle) {
    return *static_cast<TiffHandle*>(handle);
}

tmsize_t fnTiffRead(thandle_t handle, void* out, tmsize_t count) {
    TiffHandle& file = fnHandle(handle);
    const auto size = static_cast<std::size_t>(count);
    return static_cast<tmsize_t>(file.m_pInput ? file.m_pInput->fnRead(out, size)
                                               : file.m_pOutput->fnRead(out, size));
}

tmsize_t fnTiffWrite(thandle_t handle, void* bytes, tmsize_t count) {
    TiffHandle& file = fnHandle(handle);
    const bool done =
        file.m_pOutput && file.m_pOutput->fnWrite(bytes, static_cast<std::size_t>(count));
    return done ? count : -1;
}

toff_t fnTiffSize(thandle_t handle) {
    const TiffHandle& file = fnHandle(handle);
    return file.m_pInput ? file.m_pInput->fnGetLength() : file.m_pOutput->fnGetLength();
}

toff_t fnTiffSeek(thandle_t handle, toff_t offset, int whence) {
    TiffHandle& file = fnHandle(handle);
    if (whence == SEEK_CUR)
        offset += file.m_pInput ? file.m_pInput->fnGetPosition() : file.m_pOutput->fnGetPosition();
    else if (whence == SEEK_END)
        offset += fnTiffSize(handle);
    if (file.m_pInput)
        file.m_pInput->fnSeek(offset);
    else if (!file.m_pOutput->fnSeek(offset))
        return static_cast<toff_t>(-1);
    return offset;
}

int fnTiffClose(thandle_t) {
    return 0;
}

int fnTiffError(TIFF*, void*, const char*, const char*, std::va_list) {
    return 1;
}

int fnTiffWarning(TIFF*, void* user, const char* module, const char*, std::va_list) {
    TiffHandle& file = fnHandle(user);
    // libtiff warns of the old bit order of LZW, but decodes it correctly.
    const bool harmless = module && std::strcmp(module, "LZWPreDecode") == 0;
    file.m_bWarned = file.m_bWarned || (file.m_bWatching && !harmless);
    return 1;
}

} // namespace

TiffHandle::TiffHandle(CodecInput& input) : m_pInput(&input) {
    fnOpen("rm");
}

TiffHandle::TiffHandle(CodecOutput& output) : m_pOutput(&output) {
    fnOpen("w");
}

TiffHandle::~TiffHandle() {
    TIFFClose(m_pTiff);
}

void TiffHandle::fnOpen(const char* mode) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (!options)
        throw CodecFailure{MESSAGE_NO_MEMORY};
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMaxBlockBytes);
    TIFFOpenOptionsSetErrorHandlerExtR(options, fnTiffError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options, fnTiffWarning, this);
    m_pTiff = TIFFClientOpenExt("picture", mode, this, fnTiffRead, fnTiffWrite, fnTiffSeek,
                                fnTiffClose, fnTiffSize, nullptr, nullptr, options);
    TIFFOpenOptionsFree(options);
    if (!m_pTiff)
        fnFail();
}

void TiffHandle::fnFail() const {
    if (m_pOutput)
        throw CodecFailure{MESSAGE_CANNOT_SAVE};
    throw CodecFailure{m_pInput->fnHasFailed() ? MESSAGE_CANNOT_READ : MESSAGE_CORRUPTED};
}

} // namespace q32
