/// @file What the fuzzers share: a check, the input as values, and a world with a host's limits.
#pragma once

#include "platforms/headless/headless.h"
#include "q32Base/q32Base.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace q32::fuzz {

using Bytes = std::vector<unsigned char>;
using Rows = std::vector<Bytes>;

/// Ends the process, with a message, unless a statement about the library holds.
void fnCheck(bool holds, const char* what);

/// Most bytes of pixels that the library may take: enough for any picture worth an execution, and
/// far below the fuzzer's own memory limit.
inline constexpr std::uint32_t kPixelBytes = 4u << 20;

/// The headless world that the library is attached to, from the first call on, whose options count.
/// It has no scratch disk.
CqHeadlessWorld& fnWorld(const CqHeadlessOptions& options = {});

/// Checks in its destructor that all pixels, files and device contexts taken since its construction
/// were returned, and that nothing was misused.
class Balance {
public:
    Balance();
    ~Balance();
    Balance(const Balance&) = delete;
    Balance& operator=(const Balance&) = delete;

private:
    std::uint32_t m_nRamUsed;
    std::size_t m_nMisuses;
};

/// The bytes of an input as text.
inline std::string_view fnText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The input as values; zeros once it is used up.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_pAt(data), m_pEnd(data + size) {}

    bool fnIsEmpty() const { return m_pAt == m_pEnd; }
    std::uint8_t fnByte() { return fnIsEmpty() ? std::uint8_t{0} : *m_pAt++; }
    bool fnFlag() { return (fnByte() & 1) != 0; }
    unsigned int fnBelow(unsigned int limit) { return fnByte() % limit; }
    /// Low byte first.
    std::uint32_t fnWord() {
        const std::uint32_t low = fnByte();
        return low | std::uint32_t{fnByte()} << 8;
    }
    std::uint32_t fnLong() {
        const std::uint32_t low = fnWord();
        return low | fnWord() << 16;
    }
    /// Usually near an image, occasionally at the limits of the type.
    int fnPlace();
    CRect fnRect();
    CqColor fnColor();
    /// A fraction near an image, occasionally a special value.
    double fnReal();
    /// Up to `most` bytes, as many as the next two bytes say.
    Bytes fnBytes(std::size_t most);
    std::string fnString(std::size_t most);

private:
    const std::uint8_t* m_pAt;
    const std::uint8_t* m_pEnd;
};

/// Pixels of all kinds from one byte; some bytes produce runs, for keys and regions.
void fnPaint(const CqImage& image, std::uint8_t seed);

unsigned int fnBits(Input& input);
/// An image of any depth, with sides up to `side`.
std::unique_ptr<CqImage> fnMakeImage(Input& input, unsigned int side);

/// The stored rows of an image.
Rows fnRows(const CqImage& image);

/// Reports Esc at a chosen call.
class CountedDisplay : public CqProgressDisplay {
public:
    explicit CountedDisplay(unsigned int abortAt) : CqProgressDisplay(false), m_nAbortAt(abortAt) {}

    void fnDrawStatus(unsigned int percent, bool* aborted) override;
    bool fnIsAborted() const override { return m_nCalls == m_nAbortAt; }

    unsigned int m_nCalls = 0;

private:
    unsigned int m_nAbortAt;
};

/// Runs work that may raise an exception of the library. Whether it ended without one.
template <typename Work>
bool fnTry(Work&& work) {
    try {
        work();
        return true;
    } catch (CException* failure) {
        failure->Delete();
        return false;
    }
}

} // namespace q32::fuzz
