#include "plugins/WaveFile.h"

#include "plugins/CodecInput_p.h"
#include "plugins/CodecOutput_p.h"
#include "plugins/PictureCodec_p.h"
#include "plugins/PictureTarget_p.h"
#include "plugins/WaveSamples_p.h"
#include "q32Base/sound/CqWave.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <optional>

namespace {

using namespace q32;

static_assert(std::endian::native == std::endian::little, "the records are used as they lie");

constexpr WORD kPcm = 1;
constexpr WORD kFloat = 3;
constexpr WORD kExtensible = 0xFFFE;
/// The subformat of an extensible format: a plain tag, and this rest of a GUID.
constexpr unsigned char kKindRest[14] = {0, 0, 0,    0, 0x10, 0,    0x80,
                                         0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};
constexpr std::uint32_t kFormatBytes = 16;
constexpr std::uint32_t kExtensibleBytes = 40;
constexpr std::uint32_t kKindAt = 24;
constexpr WORD kReducedBits = 16;
/// Bytes of samples read between two progress reports.
constexpr std::uint32_t kPiece = 256 * 1024;

/// The header of the file and of each chunk.
struct ChunkHead {
    char m_Id[4];
    std::uint32_t m_nSize; ///< of the data that follows, without the padding byte

    bool fnIs(const char* id) const { return std::memcmp(m_Id, id, 4) == 0; }
};

struct FileHead {
    ChunkHead m_Riff = {};
    char m_Kind[4] = {};
};

/// The headers of a file that is written, up to its samples.
struct PlainHead {
    FileHead m_File;
    ChunkHead m_FormatHead = {};
    unsigned char m_Format[kFormatBytes] = {}; ///< the format's fields up to the bits per sample
    ChunkHead m_DataHead = {};
};
static_assert(sizeof(PlainHead) == 44);

/// The format and location of the samples in a file.
struct Found {
    WAVEFORMATEX m_Format = {};
    std::optional<WaveSamples> m_Samples;
    std::uint64_t m_nSamplesAt = 0; ///< file offset; 0: none
    std::uint32_t m_nSize = 0;

    std::uint32_t fnCountFrames() const { return m_nSize / m_Format.nBlockAlign; }
    /// The format of the wave that is read.
    WAVEFORMATEX fnGetWaveFormat() const;
};

WAVEFORMATEX Found::fnGetWaveFormat() const {
    const WORD bits = fnIsReduced(*m_Samples) ? kReducedBits : m_Format.wBitsPerSample;
    const auto align = static_cast<WORD>(m_Format.nChannels * bits / 8);
    const auto bytes = static_cast<DWORD>(std::uint64_t{align} * m_Format.nSamplesPerSec);
    return {kPcm, m_Format.nChannels, m_Format.nSamplesPerSec, bytes, align, bits, 0};
}

[[noreturn]] void fnFail(CQ_MESSAGE message) {
    throw CodecFailure{message};
}

/// Whether the block size is that of one frame, at the format's bits and channels.
bool fnAgrees(const WAVEFORMATEX& format) {
    return format.nChannels != 0 && format.nSamplesPerSec != 0 &&
           format.nBlockAlign == format.nChannels * format.wBitsPerSample / 8;
}

bool fnHasKnownDepth(const WAVEFORMATEX& format) {
    return format.wBitsPerSample == 8 || format.wBitsPerSample == 16;
}

void fnReadHead(CodecInput& input) {
    if (input.fnGetLength() == 0)
        fnFail(MESSAGE_EMPTY);
    FileHead head;
    const std::size_t count = input.fnRead(&head, sizeof head);
    if (input.fnHasFailed())
        fnFail(MESSAGE_CANNOT_READ);
    if (count < sizeof head.m_Riff || !head.m_Riff.fnIs("RIFF"))
        fnFail(MESSAGE_UNSUPPORTED);
    if (count < sizeof head)
        fnFail(MESSAGE_CORRUPTED);
    if (std::memcmp(head.m_Kind, "WAVE", 4) != 0)
        fnFail(MESSAGE_UNSUPPORTED);
}

/// The kind of the samples of a format; none for one that can't be read.
std::optional<WaveSamples> fnFindKind(const WAVEFORMATEX& format) {
    static constexpr struct {
        WORD m_nTag;
        WORD m_nBits;
        WaveSamples m_Kind;
    } kKinds[] = {{kPcm, 8, WaveSamples::BYTES},      {kPcm, 16, WaveSamples::SHORTS},
                  {kPcm, 24, WaveSamples::PCM24},     {kPcm, 32, WaveSamples::PCM32},
                  {kFloat, 32, WaveSamples::FLOAT32}, {kFloat, 64, WaveSamples::FLOAT64}};
    for (const auto& kind : kKinds)
        if (kind.m_nTag == format.wFormatTag && kind.m_nBits == format.wBitsPerSample)
            return kind.m_Kind;
    return std::nullopt;
}

void fnReadFormat(CodecInput& input, std::uint32_t size, Found& found) {
    if (size < kFormatBytes)
        fnFail(MESSAGE_CORRUPTED);
    unsigned char bytes[kExtensibleBytes] = {};
    fnReadExactly(input, bytes, std::min(size, kExtensibleBytes));
    WAVEFORMATEX& format = found.m_Format;
    std::memcpy(&format, bytes, kFormatBytes);
    if (format.wFormatTag == kExtensible &&
        std::memcmp(bytes + kKindAt + 2, kKindRest, sizeof kKindRest) == 0)
        std::memcpy(&format.wFormatTag, bytes + kKindAt, sizeof format.wFormatTag);
    found.m_Samples = fnFindKind(format);
    if (!found.m_Samples)
        fnFail(MESSAGE_UNSUPPORTED);
    if (!fnAgrees(format))
        fnFail(MESSAGE_CORRUPTED);
}

/// Walks the chunks until format and samples are found. The size in the file's header is ignored:
/// many writers don't set it.
Found fnWalk(CodecInput& input, unsigned int chunks) {
    Found found;
    for (; !found.m_Samples || found.m_nSamplesAt == 0; --chunks) {
        if (chunks == 0)
            throw CodecFailure{MESSAGE_CORRUPTED, PICTURE_LIMIT_SOUND_CHUNKS};
        ChunkHead chunk;
        fnReadExactly(input, &chunk, sizeof chunk);
        const std::uint64_t at = input.fnGetPosition();
        if (chunk.fnIs("fmt ") && !found.m_Samples) {
            fnReadFormat(input, chunk.m_nSize, found);
        } else if (chunk.fnIs("data") && found.m_nSamplesAt == 0) {
            if (chunk.m_nSize > input.fnGetLength() - at)
                fnFail(MESSAGE_CORRUPTED);
            found.m_nSamplesAt = at;
            found.m_nSize = chunk.m_nSize;
        }
        input.fnSeek(at + chunk.m_nSize + (chunk.m_nSize & 1));
    }
    return found;
}

/// Reads the bytes of the samples.
/// @param size  of those in the file
/// @param out   receives them, reduced to 16 bits if they are larger
void fnReadSamples(CodecInput& input, WaveSamples kind, std::uint32_t size, unsigned char* out,
                   PictureSteps& steps) {
    const std::uint32_t sample = fnGetSampleBytes(kind);
    const bool reduces = fnIsReduced(kind);
    const std::uint32_t piece = kPiece / sample * sample;
    const auto bytes = std::make_unique_for_overwrite<unsigned char[]>(reduces ? piece : 0);
    steps.fnReport(0, size);
    for (std::uint32_t done = 0; done < size;) {
        const std::uint32_t count = std::min(piece, size - done);
        fnReadExactly(input, reduces ? bytes.get() : out + done, count);
        if (reduces)
            fnReduceSamples(kind, bytes.get(), count / sample,
                            out + std::size_t{2} * (done / sample));
        done += count;
        steps.fnReport(done, size);
    }
}

/// Finds the format and the samples of a file, and hands them to `take(input, found, steps)`.
template <typename Take>
CqWaveFileResult fnOpen(const char* path, const CqWaveLimits& limits, CqPictureProgress* progress,
                        const Take& take) {
    bool reduced = false;
    CqWaveFileResult result = fnRunOnFile(path, [&] {
        CodecInput input(path);
        PictureSteps steps(progress, limits.m_nMilliseconds, PICTURE_LIMIT_SOUND_TIME);
        fnReadHead(input);
        input.fnReportTo(&steps);
        const Found found = fnWalk(input, limits.m_nChunks);
        input.fnReportTo(nullptr);
        if (found.fnCountFrames() == 0)
            fnFail(MESSAGE_EMPTY);
        reduced = fnIsReduced(*found.m_Samples);
        const WAVEFORMATEX format = found.fnGetWaveFormat();
        if (std::uint64_t{found.fnCountFrames()} * format.nChannels * (format.wBitsPerSample / 8) >
            limits.m_nStorageBytes)
            throw CodecFailure{MESSAGE_NO_MEMORY, PICTURE_LIMIT_SOUND_STORAGE};
        take(input, found, steps);
    });
    result.m_bReduced = reduced && result.fnIsDone();
    return result;
}

/// Throws if the wave's scratch file has lost some.
void fnRequireSamples(const CqWave& wave) {
    if (wave.fnHasNewLosses())
        fnFail(MESSAGE_NO_MEMORY);
}

} // namespace

CqWaveFileResult q32ReadWave(const char* path, CqWave& wave, CqPictureProgress* progress) {
    return q32ReadWave(path, wave, CqWaveLimits(), progress);
}

CqWaveFileResult q32ReadWave(const char* path, CqWave& wave, const CqWaveLimits& limits,
                             CqPictureProgress* progress) {
    return fnOpen(path, limits, progress,
                  [&](CodecInput& input, const Found& found, PictureSteps& steps) {
                      const WAVEFORMATEX format = found.fnGetWaveFormat();
                      const std::uint32_t frames = found.fnCountFrames();
                      CqWave fresh(format.nChannels, format.wBitsPerSample, format.nSamplesPerSec,
                                   frames, false);
                      input.fnSeek(found.m_nSamplesAt);
                      fnReadSamples(input, *found.m_Samples, frames * found.m_Format.nBlockAlign,
                                    fresh.fnGetBuffer(), steps);
                      fnRequireSamples(fresh);
                      wave.fnSwapBuf(fresh);
                  });
}

CqWaveFileResult q32DescribeWave(const char* path, CqWaveFacts& facts, const CqWaveLimits& limits,
                                 CqPictureProgress* progress) {
    return fnOpen(path, limits, progress,
                  [&](const CodecInput&, const Found& found, const PictureSteps&) {
                      facts = {found.fnGetWaveFormat(), found.fnCountFrames()};
                  });
}

CqWaveFileResult q32WriteWave(const char* path, const CqWave& wave) {
    return fnRunOnFile(path, [&] {
        WAVEFORMATEX format = wave.fnGetFormat();
        const std::uint32_t size = wave.fnGetFrameCount() * format.nBlockAlign;
        if (size == 0)
            fnFail(MESSAGE_EMPTY);
        const std::uint64_t fileSize = sizeof(PlainHead) + std::uint64_t{size} + (size & 1);
        if (format.wFormatTag != kPcm || !fnHasKnownDepth(format) || !fnAgrees(format) ||
            fileSize - sizeof(ChunkHead) > 0xFFFFFFFFu)
            fnFail(MESSAGE_UNSUPPORTED);
        format.nAvgBytesPerSec =
            static_cast<DWORD>(std::uint64_t{format.nBlockAlign} * format.nSamplesPerSec);
        PlainHead head;
        head.m_File = {
            {{'R', 'I', 'F', 'F'}, static_cast<std::uint32_t>(fileSize - sizeof(ChunkHead))},
            {'W', 'A', 'V', 'E'}};
        head.m_FormatHead = {{'f', 'm', 't', ' '}, kFormatBytes};
        std::memcpy(head.m_Format, &format, kFormatBytes);
        head.m_DataHead = {{'d', 'a', 't', 'a'}, size};
        CodecOutput output(path);
        output.fnWrite(&head, sizeof head);
        output.fnWrite(wave.fnGetBuffer(), size);
        output.fnWrite("", size & 1);
        fnRequireSamples(wave);
        output.fnCommit();
    });
}
