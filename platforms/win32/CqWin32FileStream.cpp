#include "platforms/win32/CqWin32FileStream_p.h"
#include "platforms/win32/FileAccess_p.h"

#include <utility>

using namespace q32::win32;

std::unique_ptr<CqFileStream> CqWin32FileStream::fnOpen(const wchar_t* path, const CqFileMode& mode,
                                                        CQ_FILE_CAUSE& cause) {
    cause = FILE_CAUSE_INVALID;
    if (!mode.m_bRead && !mode.m_bWrite)
        return nullptr;
    // Allocated first: nothing may fail for memory once a new file exists.
    auto stream = std::make_unique<CqWin32FileStream>(Handle(), mode);
    // An old file is cut to nothing, which keeps its permissions and attributes.
    const DWORD access = (mode.m_bRead || mode.m_bCreate ? GENERIC_READ : 0) |
                         (mode.m_bWrite || mode.m_bCreate ? GENERIC_WRITE : 0);
    const DWORD disposition = !mode.m_bCreate ? OPEN_EXISTING
                              : mode.m_bNew   ? CREATE_NEW
                                              : OPEN_ALWAYS;
    Handle file = fnOpenFile(path, access, mode.m_bExclusive ? kShareNone : kShareUse, disposition);
    const bool open = file && (!mode.m_bCreate || mode.m_bNew || fnSetEnd(file, 0));
    cause = open ? FILE_CAUSE_NONE : fnLastCause();
    if (!open)
        return nullptr;
    stream->m_File = std::move(file);
    return stream;
}

CQ_FILE_CAUSE CqWin32FileStream::fnGetLength(std::uint64_t& length) {
    if (!m_File)
        return FILE_CAUSE_INVALID;
    return fnGetSize(m_File, length) ? FILE_CAUSE_NONE : fnLastCause();
}
