#include "q32Base/sound/CqWave.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/memory/PixelBuffer_p.h"
#include "q32Base/platform/Checked_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <cassert>
#include <cstring>
#include <utility>

namespace {

// Offsets in a wave resource.
constexpr std::size_t kKindAt = 8;
constexpr std::size_t kFormatAt = 20;
constexpr std::size_t kFormatBytes = offsetof(WAVEFORMATEX, cbSize);
constexpr std::size_t kSizeAt = 40;
constexpr std::size_t kSamplesAt = 44;

constexpr WORD kPcm = 1;

/// A product in 32 bits, which wraps.
std::uint32_t fnBytes(WORD blockAlign, unsigned long frames) {
    return blockAlign * static_cast<std::uint32_t>(frames);
}

/// Copies bytes; the addresses may be null if there are none.
void fnCopy(unsigned char* target, const unsigned char* source, std::size_t count) {
    if (count != 0)
        std::memcpy(target, source, count);
}

} // namespace

const CRuntimeClass CqWave::classCqWave = {"CqWave", sizeof(CqWave), 0xFFFF, nullptr,
                                           &CObject::classCObject};

const CRuntimeClass* CqWave::GetRuntimeClass() const {
    return &classCqWave;
}

CqWave::CqWave() {
    fnInit();
}

// The other constructors delegate to this one: if they throw, the destructor runs and frees what
// they have set.

CqWave::CqWave(unsigned int nResourceId) : CqWave() {
    fnLoad(nResourceId);
}

CqWave::CqWave(unsigned int nChannels, unsigned int nBits, unsigned int nSampleRate,
               unsigned long nFrames, bool bMute)
    : CqWave() {
    fnAlloc(nChannels, nBits, nSampleRate, nFrames, bMute);
}

CqWave::CqWave(const CqWave& other) : CqWave() {
    *this = other;
}

CqWave::~CqWave() {
    std::unique_lock lock(m_PlayLock);
    std::shared_ptr<CqWaveOut> device = std::exchange(m_hWaveOut, nullptr);
    lock.unlock();
    // Closing waits for a callback that is running; after it nothing reads the block.
    device.reset();
}

CqWave& CqWave::operator=(const CqWave& other) { // NOLINT(bugprone-unhandled-self-assignment)
    q32::PixelBlock block(other.fnGetBufferSize());
    if (this != &other)
        fnCopy(block.fnGetBytes(), other.fnGetBuffer(), block.fnGetSize());
    other.m_Block.fnRequireBytes();
    block.fnRequireBytes();
    fnAdoptBuf(other.m_Format, std::move(block));
    return *this;
}

void CqWave::fnInit() {
    m_nChannels = 0;
    m_nBitsPerSample = 0;
    m_nBlockAlign = 0;
    m_nSampleRate = 0;
    m_nFrames = 0;
    m_Format = {};
    m_Block = {};
    m_nState = WAVE_STOPPED;
    m_hWaveOut = nullptr;
    m_Header = {};
}

unsigned char* CqWave::fnAllocBuf(unsigned long nSize, CqFileHandle& hFile,
                                  CqMappingHandle& hMapping, CString& strPath) {
    return AllocPixelBuffer(static_cast<std::uint32_t>(nSize), hFile, hMapping, strPath);
}

void CqWave::fnFreeBuf() {
    if (!m_Block.fnGetBytes())
        return;
    m_Block = {};
    m_nFrames = 0; // the samples are gone
}

void CqWave::fnSetBuf(unsigned char* const pBuffer, const WAVEFORMATEX& format, unsigned long nSize,
                      CqFileHandle hFile, CqMappingHandle hMapping, CString& strPath) {
    fnAdoptBuf(format, q32::PixelBlock(pBuffer, static_cast<std::uint32_t>(nSize), hFile, hMapping,
                                       strPath));
}

void CqWave::fnAdoptBuf(const WAVEFORMATEX& format, q32::PixelBlock&& block) {
    fnFreeBuf();
    m_Format = format;
    m_Block = std::move(block);
    m_nChannels = m_Format.nChannels;
    m_nBitsPerSample = m_Format.wBitsPerSample;
    m_nSampleRate = m_Format.nSamplesPerSec;
    m_nBlockAlign = m_Format.nBlockAlign;
    m_nFrames = m_nBlockAlign == 0 ? 0 : fnGetBufferSize() / m_nBlockAlign;
    assert(std::uint64_t{m_nFrames} * m_nBlockAlign <= fnGetBufferSize());
}

/// Allocates a new block, fills it with samples, if there are any, and only then releases the old
/// one.
void CqWave::fnReplaceBuf(const WAVEFORMATEX& format, std::uint32_t nSize,
                          const unsigned char* pSamples) {
    q32::PixelBlock block(nSize);
    fnCopy(block.fnGetBytes(), pSamples, pSamples ? nSize : 0);
    block.fnRequireBytes();
    fnAdoptBuf(format, std::move(block));
}

void CqWave::fnLoad(unsigned int nResourceId) {
    CqResourceData data;
    const bool found = q32::fnGuardMemory([&] {
        return q32::fnPlatform().m_pResources->fnFind(
            nullptr, "WAVE", static_cast<WORD>(nResourceId & 0xFFFF), data);
    });
    if (!found || data.m_nSize < kSamplesAt)
        AfxThrowResourceException();
    const auto* bytes = static_cast<const unsigned char*>(data.m_pBytes);
    WAVEFORMATEX format = {};
    std::memcpy(&format, bytes + kFormatAt, kFormatBytes);
    std::uint32_t size = 0;
    std::memcpy(&size, bytes + kSizeAt, sizeof size);
    if (std::memcmp(bytes + kKindAt, "WAVE", 4) != 0 || format.nBlockAlign == 0 ||
        size > data.m_nSize - kSamplesAt)
        AfxThrowResourceException();
    fnReplaceBuf(format, size, bytes + kSamplesAt);
}

void CqWave::fnAlloc(unsigned int nChannels, unsigned int nBits, unsigned int nSampleRate,
                     unsigned long nFrames, bool bMute) {
    q32::fnRequireAttached("CqWave::fnAlloc", q32::fnHasPlatform());
    WAVEFORMATEX format = {};
    format.wFormatTag = kPcm;
    format.nChannels = static_cast<WORD>(nChannels);
    format.nSamplesPerSec = nSampleRate;
    format.wBitsPerSample = static_cast<WORD>(nBits);
    format.nBlockAlign = static_cast<WORD>((nChannels * nBits) >> 3);
    format.nAvgBytesPerSec = format.nBlockAlign * nSampleRate;
    fnReplaceBuf(format, fnBytes(format.nBlockAlign, nFrames), nullptr);
    if (bMute)
        fnMute();
}

void CqWave::fnFillBuffer(unsigned char* const pData, unsigned long nFrames) {
    const std::uint32_t size = fnBytes(m_Format.nBlockAlign, nFrames);
    if (size > fnGetBufferSize())
        return fnReplaceBuf(m_Format, size, pData);
    assert(size == 0 || fnGetBuffer());
    if (size < fnGetBufferSize())
        fnMute(fnGetBuffer() + size, fnGetBufferSize() - size);
    fnCopy(fnGetBuffer(), pData, size);
    m_Block.fnRequireBytes();
}

void CqWave::fnMute() {
    if (!fnGetBuffer())
        return;
    fnMute(fnGetBuffer(), fnGetBufferSize());
    m_Block.fnRequireBytes();
}

void CqWave::fnMute(unsigned char* pData, unsigned long nBytes) {
    if (m_Format.wBitsPerSample == 8)
        std::memset(pData, 0x80, nBytes);
    else if (m_Format.wBitsPerSample == 16)
        std::memset(pData, 0, nBytes);
}

std::uint32_t CqWave::fnCountLosses() const noexcept {
    return m_Block.fnCountLosses();
}

bool CqWave::fnHasNewLosses() const noexcept {
    return m_Block.fnHasNewLosses();
}

void CqWave::fnSwapBuf(CqWave& other) noexcept {
    std::swap(m_nChannels, other.m_nChannels);
    std::swap(m_nBitsPerSample, other.m_nBitsPerSample);
    std::swap(m_nBlockAlign, other.m_nBlockAlign);
    std::swap(m_nSampleRate, other.m_nSampleRate);
    std::swap(m_nFrames, other.m_nFrames);
    std::swap(m_Format, other.m_Format);
    std::swap(m_Block, other.m_Block);
}
