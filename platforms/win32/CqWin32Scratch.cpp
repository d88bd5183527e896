#include "platforms/win32/CqWin32Scratch_p.h"
#include "platforms/win32/FileAccess_p.h"
#include "platforms/win32/Path_p.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>
#include <winioctl.h>

using namespace q32::win32;

namespace {

constexpr int kNameAttempts = 100;
constexpr std::size_t kZeroChunk = std::size_t{1} << 20;

/// Lets an empty file be written in place: a compressed one may find the disk full later. File
/// systems without compression refuse.
void fnSwitchOffCompression(const Handle& file) {
    USHORT format = COMPRESSION_FORMAT_NONE;
    DWORD done = 0;
    ::DeviceIoControl(file.fnGet(), FSCTL_SET_COMPRESSION, &format, sizeof format, nullptr, 0,
                      &done, nullptr);
}

bool fnIsReserved(const Handle& file, std::uint32_t size) {
    FILE_STANDARD_INFO info;
    return ::GetFileInformationByHandleEx(file.fnGet(), FileStandardInfo, &info, sizeof info) &&
           info.AllocationSize.QuadPart >= LONGLONG{size};
}

/// Reserves the bytes behind `start` by writing zeros, to the disk.
bool fnWriteZeros(const Handle& file, std::uint64_t start, std::uint32_t size) {
    const std::vector<char> zeros(std::min<std::size_t>(size, kZeroChunk));
    for (std::uint64_t at = start; at < size; at += zeros.size())
        if (!fnWriteAt(file, zeros.data(),
                       static_cast<std::size_t>(std::min<std::uint64_t>(zeros.size(), size - at)),
                       at))
            return false;
    return ::FlushFileBuffers(file.fnGet());
}

bool fnGrow(const Handle& file, std::uint64_t from, std::uint32_t to) {
    if (from == 0)
        fnSwitchOffCompression(file);
    return fnSetEnd(file, to) && (fnIsReserved(file, to) || fnWriteZeros(file, from, to));
}

/// Whether the file is no link and has no other name.
bool fnIsPlain(const Handle& file) {
    BY_HANDLE_FILE_INFORMATION facts;
    if (!::GetFileInformationByHandle(file.fnGet(), &facts))
        return false;
    const bool plain =
        facts.nNumberOfLinks == 1 && (facts.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
    if (!plain)
        ::SetLastError(ERROR_ACCESS_DENIED);
    return plain;
}

} // namespace

CqWin32Scratch::CqWin32Scratch(std::shared_ptr<const CodePage> codePage)
    : m_pCodePage(std::move(codePage)) {}

bool CqWin32Scratch::PathOrder::operator()(std::wstring_view a, std::wstring_view b) const {
    return ::CompareStringOrdinal(a.data(), static_cast<int>(a.size()), b.data(),
                                  static_cast<int>(b.size()), TRUE) == CSTR_LESS_THAN;
}

std::uint32_t CqWin32Scratch::fnNextHandle() {
    do
        ++m_nLastHandle;
    while (m_nLastHandle == kNoMapping || m_nLastHandle == kNoFile ||
           m_Files.contains(m_nLastHandle) || m_Mappings.contains(m_nLastHandle));
    return m_nLastHandle;
}

bool CqWin32Scratch::fnCreateName(const char* directory, const char* prefix, std::string& name) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        std::string candidate = std::string(directory) + prefix + fnRandomDigits() + ".tmp";
        const std::wstring path = fnNativePath(*m_pCodePage, candidate);
        if (path.empty())
            return false;
        // The entry is made first: after the file's creation, nothing here may fail for memory.
        const auto file = std::make_shared<Handle>();
        const auto [place, isNew] = m_Created.try_emplace(path, file);
        if (!isNew)
            continue;
        *file = fnOpenFile(path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, kShareNone,
                           CREATE_NEW, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE);
        if (*file) {
            name = std::move(candidate);
            return true;
        }
        m_Created.erase(place);
        if (::GetLastError() != ERROR_FILE_EXISTS)
            return false;
    }
    return false;
}

CqFileHandle CqWin32Scratch::fnOpen(const char* name) {
    const std::wstring path = fnNativePath(*m_pCodePage, name);
    if (path.empty())
        return kNoFile;
    const auto created = m_Created.find(path);
    if (created != m_Created.end()) {
        if (created->second.use_count() > 1) {
            ::SetLastError(ERROR_SHARING_VIOLATION);
            return kNoFile;
        }
        return m_Files.emplace(fnNextHandle(), created->second).first->first;
    }
    const auto file =
        std::make_shared<Handle>(fnOpenFile(path.c_str(), GENERIC_READ | GENERIC_WRITE, kShareNone,
                                            OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT));
    if (!*file || !fnIsPlain(*file))
        return kNoFile;
    return m_Files.emplace(fnNextHandle(), file).first->first;
}

bool CqWin32Scratch::fnSetSize(CqFileHandle file, std::uint32_t size) {
    const auto found = m_Files.find(file);
    std::uint64_t old = 0;
    if (found == m_Files.end() || !fnGetSize(*found->second, old))
        return false;
    const Handle& open = *found->second;
    if (old >= size ? fnSetEnd(open, size) : fnGrow(open, old, size))
        return true;
    const DWORD cause = ::GetLastError();
    fnSetEnd(open, 0);
    ::SetLastError(cause);
    return false;
}

CqFileHandle CqWin32Scratch::fnReopen(CqFileHandle file, const char* name) noexcept {
    auto open = m_Files.extract(file);
    if (open.empty())
        return kNoFile;
    const NativePath path(*m_pCodePage, name);
    if (!path || !fnIsNameOf(path.fnGet(), *open.mapped()))
        return kNoFile;
    open.key() = fnNextHandle();
    return m_Files.insert(std::move(open)).position->first;
}

void CqWin32Scratch::fnClose(CqFileHandle file) noexcept {
    m_Files.erase(file);
}

CqMappingHandle CqWin32Scratch::fnCreateMapping(CqFileHandle file, std::uint32_t size) {
    const auto found = m_Files.find(file);
    std::uint64_t length = 0;
    // The system would extend a shorter file.
    if (found == m_Files.end() || size == 0 || !fnGetSize(*found->second, length) || length < size)
        return kNoMapping;
    Handle section(
        ::CreateFileMappingW(found->second->fnGet(), nullptr, PAGE_READWRITE, 0, size, nullptr));
    if (!section)
        return kNoMapping;
    Mapping mapping{found->second, std::move(section), size};
    return m_Mappings.emplace(fnNextHandle(), std::move(mapping)).first->first;
}

void CqWin32Scratch::fnCloseMapping(CqMappingHandle mapping) noexcept {
    m_Mappings.erase(mapping);
}

void* CqWin32Scratch::fnMapView(CqMappingHandle mapping, std::uint32_t size) {
    const auto found = m_Mappings.find(mapping);
    if (found == m_Mappings.end() || size == 0 || size > found->second.m_nSize)
        return nullptr;
    return ::MapViewOfFile(found->second.m_Section.fnGet(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0,
                           size);
}

void CqWin32Scratch::fnUnmapView(void* address, std::uint32_t) noexcept {
    ::UnmapViewOfFile(address);
}

bool CqWin32Scratch::fnDelete(const char* name) noexcept {
    const NativePath path(*m_pCodePage, name);
    if (!path)
        return false;
    const auto created = m_Created.find(std::wstring_view(path.fnGet()));
    if (created == m_Created.end())
        return fnDeleteUnheld(path.fnGet());
    if (created->second.use_count() > 1) {
        ::SetLastError(ERROR_SHARING_VIOLATION);
        return false;
    }
    const bool done = created->second->fnClose();
    m_Created.erase(created);
    return done;
}
