/// @file
/// What lies under a libtiff handle: the file that is read, or one that is written.
#pragma once

#include "q32Base/messages/Messages.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace q32 {

class CodecInput;
class CodecOutput;
class TiffTags;

/// The bytes that a libtiff handle reads and writes.
class TiffBytes {
public:
    /// @param failure  that of a call into libtiff that failed for no other reason
    explicit TiffBytes(CQ_MESSAGE failure) : m_eFailure(failure) {}
    virtual ~TiffBytes() = default;
    TiffBytes(const TiffBytes&) = delete;
    TiffBytes& operator=(const TiffBytes&) = delete;

    /// Reads up to `count` bytes; fewer at the end, and after a failure.
    virtual std::size_t fnRead(void* out, std::size_t count) noexcept = 0;
    virtual bool fnWrite(const void* bytes, std::size_t count) noexcept = 0;
    virtual bool fnSeek(std::uint64_t position) noexcept = 0;
    virtual std::uint64_t fnGetPosition() const noexcept = 0;
    virtual std::uint64_t fnGetLength() const noexcept = 0;
    /// Throws if reading the file has failed.
    virtual void fnRequireRead() const {}
    CQ_MESSAGE fnGetFailure() const { return m_eFailure; }

private:
    CQ_MESSAGE m_eFailure;
};

/// A file that is read, with the directory of `tags` in place of its own.
class TiffInput final : public TiffBytes {
public:
    /// Both must outlive this.
    TiffInput(CodecInput& input, const TiffTags& tags)
        : TiffBytes(MESSAGE_CORRUPTED), m_Input(input), m_Tags(tags) {}

    std::size_t fnRead(void* out, std::size_t count) noexcept override;
    bool fnWrite(const void* bytes, std::size_t count) noexcept override;
    bool fnSeek(std::uint64_t position) noexcept override;
    std::uint64_t fnGetPosition() const noexcept override;
    std::uint64_t fnGetLength() const noexcept override;
    void fnRequireRead() const override;

private:
    CodecInput& m_Input;
    const TiffTags& m_Tags;
};

/// The same file for a further handle, which leaves the position and the buffer of the input alone.
class TiffSecondInput final : public TiffBytes {
public:
    /// Both must outlive this.
    TiffSecondInput(CodecInput& input, const TiffTags& tags)
        : TiffBytes(MESSAGE_CORRUPTED), m_Input(input), m_Tags(tags) {}

    std::size_t fnRead(void* out, std::size_t count) noexcept override;
    bool fnWrite(const void* bytes, std::size_t count) noexcept override;
    bool fnSeek(std::uint64_t position) noexcept override;
    std::uint64_t fnGetPosition() const noexcept override { return m_nPosition; }
    std::uint64_t fnGetLength() const noexcept override;
    void fnRequireRead() const override;

private:
    CodecInput& m_Input;
    const TiffTags& m_Tags;
    std::uint64_t m_nPosition = 0;
};

/// A file that is written.
class TiffOutput final : public TiffBytes {
public:
    /// `output` must outlive this.
    explicit TiffOutput(CodecOutput& output) : TiffBytes(MESSAGE_CANNOT_SAVE), m_Output(output) {}

    std::size_t fnRead(void* out, std::size_t count) noexcept override;
    bool fnWrite(const void* bytes, std::size_t count) noexcept override;
    bool fnSeek(std::uint64_t position) noexcept override;
    std::uint64_t fnGetPosition() const noexcept override;
    std::uint64_t fnGetLength() const noexcept override;

private:
    CodecOutput& m_Output;
};

/// A file of which only the latest bytes are kept: those written since `fnTake`.
class TiffScratch final : public TiffBytes {
public:
    TiffScratch() : TiffBytes(MESSAGE_CANNOT_SAVE) {}

    std::size_t fnRead(void* out, std::size_t count) noexcept override;
    bool fnWrite(const void* bytes, std::size_t count) noexcept override;
    bool fnSeek(std::uint64_t position) noexcept override;
    std::uint64_t fnGetPosition() const noexcept override { return m_nPosition; }
    std::uint64_t fnGetLength() const noexcept override { return m_nLength; }

    /// Exchanges the bytes written, in their order, for a block to be used for the next ones. False
    /// if some of them are missing because memory was exhausted.
    bool fnTake(std::vector<unsigned char>& block);

private:
    std::vector<unsigned char> m_Bytes;
    bool m_bFailed = false;
    std::uint64_t m_nPosition = 0;
    std::uint64_t m_nLength = 0;
};

} // namespace q32
