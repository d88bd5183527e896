#include "platforms/posix/CqPosixErrorStream_p.h"

#include <cerrno>
#include <string_view>
#include <unistd.h>

namespace {

/// A line for the standard error stream, written in pieces without allocation.
class Line {
public:
    void fnAppend(std::string_view text) {
        for (const char c : text) {
            if (m_nFilled == sizeof(m_szPiece))
                fnWrite();
            m_szPiece[m_nFilled++] = c;
        }
    }
    void fnAppendPlain(std::string_view text) {
        for (const char c : text) {
            const auto byte = static_cast<unsigned char>(c);
            fnAppend(c == '\n' ? " " : byte < 0x20 || byte == 0x7F ? "?" : std::string_view(&c, 1));
        }
    }
    /// What the stream doesn't take is lost.
    void fnWrite() {
        for (std::size_t done = 0; done < m_nFilled;) {
            const ssize_t count = ::write(STDERR_FILENO, m_szPiece + done, m_nFilled - done);
            if (count > 0)
                done += static_cast<std::size_t>(count);
            else if (count == 0 || errno != EINTR)
                break;
        }
        m_nFilled = 0;
    }

private:
    char m_szPiece[1024];
    std::size_t m_nFilled = 0;
};

} // namespace

int CqPosixErrorStream::fnShowBox(const char* text, UINT style, const char* caption) {
    constexpr UINT kButtonMask = 0xF;
    const UINT buttons = style & kButtonMask;
    const bool question = buttons == MB_YESNO || buttons == MB_YESNOCANCEL;
    const int before = errno;
    Line line;
    if (caption && *caption) {
        line.fnAppendPlain(caption);
        line.fnAppend(": ");
    }
    line.fnAppendPlain(text);
    if (question)
        line.fnAppend(" (Yes)");
    line.fnAppend("\n");
    line.fnWrite();
    errno = before;
    return question ? IDYES : IDOK;
}
