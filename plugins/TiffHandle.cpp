#include "plugins/TiffBytes_p.h"
#include "plugins/TiffHandle_p.h"

#include <tiffio.h>

#include <algorithm>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>

namespace q32 {

namespace {

TiffHandle& fnHandle(thandle_t handle) {
    return *static_cast<TiffHandle*>(handle);
}

TiffBytes& fnBytes(thandle_t handle) {
    return fnHandle(handle).fnGetBytes();
}

tmsize_t fnTiffRead(thandle_t handle, void* out, tmsize_t count) {
    return static_cast<tmsize_t>(fnBytes(handle).fnRead(out, static_cast<std::size_t>(count)));
}

tmsize_t fnTiffWrite(thandle_t handle, void* bytes, tmsize_t count) {
    return fnBytes(handle).fnWrite(bytes, static_cast<std::size_t>(count)) ? count : -1;
}

toff_t fnTiffSize(thandle_t handle) {
    return fnBytes(handle).fnGetLength();
}

toff_t fnTiffSeek(thandle_t handle, toff_t offset, int whence) {
    TiffBytes& bytes = fnBytes(handle);
    if (whence == SEEK_CUR)
        offset += bytes.fnGetPosition();
    else if (whence == SEEK_END)
        offset += bytes.fnGetLength();
    return bytes.fnSeek(offset) ? offset : static_cast<toff_t>(-1);
}

int fnTiffClose(thandle_t) {
    return 0;
}

int fnTiffError(TIFF*, void* user, const char*, const char* format, std::va_list) {
    fnHandle(user).fnTakeError(format);
    return 1;
}

int fnTiffWarning(TIFF*, void* user, const char* module, const char* format, std::va_list) {
    fnHandle(user).fnTakeWarning(module, format);
    return 1;
}

bool fnSays(const char* format, const char* part) {
    return std::strstr(format, part) != nullptr;
}

} // namespace

TiffHandle::TiffHandle(TiffBytes& bytes, const char* mode, std::uint64_t blockBytes)
    : m_Bytes(bytes) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (!options)
        throw CodecFailure{MESSAGE_NO_MEMORY};
    TIFFOpenOptionsSetMaxSingleMemAlloc(
        options, static_cast<tmsize_t>(std::clamp<std::uint64_t>(blockBytes, 1, INT64_MAX)));
    TIFFOpenOptionsSetErrorHandlerExtR(options, fnTiffError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options, fnTiffWarning, this);
    m_bOpening = true;
    const bool returned = fnGuardJump(m_Jump, [&] {
        m_pTiff = TIFFClientOpenExt("picture", mode, this, fnTiffRead, fnTiffWrite, fnTiffSeek,
                                    fnTiffClose, fnTiffSize, nullptr, nullptr, options);
    });
    m_bOpening = false;
    TIFFOpenOptionsFree(options);
    if (!returned)
        throw CodecFailure{MESSAGE_NO_MEMORY};
    if (!m_pTiff)
        fnFail();
}

TiffHandle::~TiffHandle() {
    // Closing must not write: a complete file is written by now, and what a failure has left of the
    // directory may lack values, which libtiff would copy all the same.
    TIFFSetMode(m_pTiff, O_RDONLY);
    // libtiff has counted a tag for which it has no memory, and would walk over a list that doesn't
    // exist. An empty directory in its place leaks the old one's arrays.
    if (m_bBrokenList)
        TIFFCreateDirectory(m_pTiff);
    TIFFClose(m_pTiff);
}

/// libtiff reports an exhausted memory only by its texts.
void TiffHandle::fnTakeError(const char* format) {
    m_bBrokenList = m_bBrokenList || fnSays(format, "list of custom values");
    // Reading on, libtiff would look for the next tag in the list that doesn't exist.
    if (m_bOpening && (m_bBrokenList || fnSays(format, "fields array")))
        std::longjmp(m_Jump, 1);
    if (fnSays(format, "defined in open options"))
        m_Failure = {MESSAGE_NO_MEMORY, PICTURE_LIMIT_CODEC};
    else if (fnSays(format, "Out of memory") || fnSays(format, "No space for") ||
             fnSays(format, "llocate") || fnSays(format, "Not enough memory"))
        m_Failure = {MESSAGE_NO_MEMORY};
}

void TiffHandle::fnTakeWarning(const char* module, const char* format) {
    fnTakeError(format);
    // libtiff warns of the old bit order of LZW, but decodes it correctly.
    const bool harmless = module && std::strcmp(module, "LZWPreDecode") == 0;
    m_bWarned = m_bWarned || (m_bWatching && !harmless);
    // Subsampling is taken from the JPEG data itself where the tag differs.
    m_bGuessed = m_bGuessed || (fnSays(format, "assum") && !fnSays(format, "ubsampling")) ||
                 fnSays(format, "calculating from");
}

void TiffHandle::fnCheckMemory() const {
    if (fnHasNoMemory())
        throw m_Failure;
}

void TiffHandle::fnFail() const {
    fnCheckMemory();
    m_Bytes.fnRequireRead();
    throw CodecFailure{m_Bytes.fnGetFailure()};
}

} // namespace q32
