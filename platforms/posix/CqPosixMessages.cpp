#include "platforms/posix/CqPosixMessages_p.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

using namespace q32::posix;

CqPosixMessages::CqPosixMessages(std::shared_ptr<CqMessageService> boxes,
                                 std::shared_ptr<const CodePage> codePage)
    : m_pBoxes(std::move(boxes)), m_pCodePage(std::move(codePage)) {}

int CqPosixMessages::fnShowBox(const char* text, UINT style, const char* caption) {
    return m_pBoxes->fnShowBox(text, style, caption);
}

DWORD CqPosixMessages::fnGetLastError() {
    return static_cast<DWORD>(errno);
}

bool CqPosixMessages::fnFormatError(DWORD code, std::string& text) {
    // The system's table has gaps; a number with a name also has a text.
    if (code == 0 || code > INT_MAX || !::strerrorname_np(static_cast<int>(code)))
        return false;
    text = ::strerror_l(static_cast<int>(code), m_pCodePage->fnGetLocale());
    return true;
}
