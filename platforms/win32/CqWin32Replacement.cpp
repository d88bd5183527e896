#include "platforms/win32/CqWin32Replacement_p.h"
#include "platforms/win32/FileAccess_p.h"

#include <utility>

using namespace q32::win32;

std::unique_ptr<CqFileReplacement> CqWin32Replacement::fnOpen(std::wstring path,
                                                              CQ_FILE_CAUSE& cause) {
    std::unique_ptr<CqWin32Replacement> made;
    if (!path.empty() && fnFollow(path))
        made = std::make_unique<CqWin32Replacement>(path);
    const bool done = made && made->m_File;
    cause = done ? FILE_CAUSE_NONE : fnFileCause(::GetLastError());
    if (!done)
        made.reset();
    return made;
}

CqWin32Replacement::CqWin32Replacement(const std::wstring& path)
    : m_File(path, m_New), m_Stream(std::move(m_New), {true, true}) {}

CQ_FILE_CAUSE CqWin32Replacement::fnCommit() {
    const Handle& file = m_Stream.fnGetFile();
    if (!file || !m_File)
        return FILE_CAUSE_INVALID;
    const bool done = m_File.fnTakePlace(file);
    const CQ_FILE_CAUSE cause = done ? FILE_CAUSE_NONE : fnFileCause(::GetLastError());
    m_Stream.fnClose();
    return cause;
}
