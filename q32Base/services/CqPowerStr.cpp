#include "q32Base/services/CqPowerStr.h"

#include "q32Base/framework/DiskSpace_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/framework/PathRules_p.h"
#include "q32Base/messages/StringTable_p.h"
#include "q32Base/platform/CqPlatform.h"

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace {

constexpr std::size_t kMaxPathName = 519;
constexpr std::size_t kMaxFileTitle = 259;
constexpr std::size_t kMaxDateBytes = 259; ///< of the date, and of the time

/// Lower addresses are ids of string-table entries.
constexpr std::uintptr_t kFirstAddress = 0x10000;

bool fnIsEmpty(const char* path) {
    return !path || !*path;
}

/// Index after the last `c`; `none` if there is no `c`.
std::size_t fnBehindLast(const char* text, std::size_t length, char c, std::size_t none) {
    const std::size_t last = q32::fnFindLastChar(text, length, c);
    return last < length ? last + 1 : none;
}

/// Facts about a file that can be opened for reading: with `exclusive`, only if nobody has it open,
/// otherwise only if nobody has it open exclusively.
bool fnFindFile(const char* name, bool exclusive, CqFileInfo& info) {
    if (!name || !q32::fnHasPlatform())
        return false;
    return q32::fnGuardMemory([&] {
        CqFileService& files = *q32::fnPlatform().m_pFiles;
        CQ_FILE_CAUSE cause = FILE_CAUSE_NONE;
        return (exclusive || files.fnOpen(name, CqFileMode(), cause)) &&
               files.fnGetInfo(name, exclusive, info);
    });
}

/// Space of the volume that holds a path; 0 if it is unavailable.
CqDiskSpace fnFindSpace(const char* path, bool fallBack) {
    CqDiskSpace space;
    if (q32::fnHasPlatform()) {
        CString ended(path);
        q32::fnAppendSlash(ended);
        q32::fnGetDiskSpace(ended, fallBack, space);
    }
    return space;
}

/// The root of drive 0 (A) to 25 (Z).
struct DriveRoot {
    explicit DriveRoot(unsigned int drive) { m_szPath[0] = static_cast<char>('A' + drive); }
    static bool fnExists(unsigned int drive) { return drive < 26; }
    char m_szPath[4] = {0, ':', '\\', 0};
};

} // namespace

CqPowerStr::CqPowerStr(const char* pszText) {
    const auto address = reinterpret_cast<std::uintptr_t>(pszText);
    if (address >= kFirstAddress)
        fnSet(pszText);
    else if (address != 0)
        LoadString(static_cast<unsigned int>(address));
}

const CqPowerStr& CqPowerStr::operator=(const char* pszText) {
    fnSet(pszText);
    return *this;
}

void CqPowerStr::fnSet(const char* pszText) {
    CString::operator=(pszText);
}

void CqPowerStr::fnSet(const char* pszText, std::size_t length) {
    if (length > INT_MAX / 2)
        AfxThrowMemoryException();
    fnAssign(pszText, static_cast<int>(length));
}

void CqPowerStr::fnRemoveSlash() {
    if (q32::fnEndsInSlash(m_pchData))
        m_pchData[std::strlen(m_pchData) - 1] = 0;
}

void CqPowerStr::fnAppendSlash() {
    // If the length still included removed backslashes, the new one would land after the NUL.
    if (static_cast<std::size_t>(GetLength()) > std::strlen(m_pchData))
        ReleaseBuffer();
    q32::fnAppendSlash(*this);
}

void CqPowerStr::fnSplitPathName(const char* pszPath) {
    if (fnIsEmpty(pszPath))
        return Empty();
    fnSet(pszPath, fnBehindLast(pszPath, q32::fnCutLength(pszPath, kMaxPathName), '\\', 0));
}

void CqPowerStr::fnSplitFileName(const char* pszPath) {
    if (fnIsEmpty(pszPath))
        return Empty();
    fnSet(pszPath + fnBehindLast(pszPath, std::strlen(pszPath), '\\', 0));
}

void CqPowerStr::fnSplitFileTitle(const char* pszPath) {
    if (fnIsEmpty(pszPath))
        return Empty();
    const std::size_t length = q32::fnCutLength(pszPath, kMaxFileTitle);
    const std::size_t begin = fnBehindLast(pszPath, length, '\\', length);
    fnSet(pszPath + begin, q32::fnFindChar(pszPath + begin, length - begin, '.'));
}

void CqPowerStr::fnSplitExtName(const char* pszPath) {
    if (fnIsEmpty(pszPath))
        return Empty();
    const std::size_t length = std::strlen(pszPath);
    fnSet(pszPath + fnBehindLast(pszPath, length, '.', length));
}

void CqPowerStr::fnSplitRootName(const char* pszPath) {
    CString::operator=(q32::fnSplitRootName(pszPath));
}

void CqPowerStr::fnSegmentConcat(const char* pszSegment) {
    const auto old = static_cast<std::size_t>(GetAllocLength());
    const std::size_t added = pszSegment ? std::strlen(pszSegment) : 0;
    if (added > INT_MAX / 2 || old + added + 1 > INT_MAX / 2)
        AfxThrowMemoryException();
    CqPowerStr joined;
    joined.fnAllocBuffer(static_cast<int>(old + added + 1));
    joined.fnGetData()->nDataLength = static_cast<int>(old + added);
    std::memcpy(joined.m_pchData, m_pchData, old);
    if (added > 0)
        std::memcpy(joined.m_pchData + old, pszSegment, added);
    std::swap(m_pchData, joined.m_pchData);
}

void CqPowerStr::fnSizeString(const ULARGE_INTEGER& nSize) {
    struct Unit {
        unsigned m_nShift;      ///< bytes to units
        unsigned m_nFractions;  ///< fractions of a unit
        q32::STRING_ID m_nText; ///< begins with a space
    };
    constexpr Unit kKilo = {10, 10, q32::STRING_UNIT_KB};
    constexpr Unit kMega = {20, 10, q32::STRING_UNIT_MB};
    constexpr Unit kGiga = {30, 100, q32::STRING_UNIT_GB};
    const std::uint32_t high = nSize.HighPart;
    const std::uint32_t low = nSize.LowPart;
    const Unit& unit = high != 0 || low >= 0x40000000 ? kGiga : low < 0x100000 ? kKilo : kMega;
    // Deliberate: the high half is added as it is, not multiplied by four.
    const std::uint32_t whole = (low >> unit.m_nShift) + high;
    const std::uint64_t rest = low & ((std::uint32_t{1} << unit.m_nShift) - 1);
    const auto fraction = static_cast<int>(rest * unit.m_nFractions >> unit.m_nShift);
    const char* name = q32::fnFindString(unit.m_nText);
    if (fraction != 0)
        Format("%d.%d%s", static_cast<int>(whole), fraction, name);
    else
        Format("%d%s", static_cast<int>(whole), name);
}

void CqPowerStr::fnSizeString(unsigned long nSize) {
    ULARGE_INTEGER size;
    size.QuadPart = static_cast<std::uint32_t>(nSize);
    fnSizeString(size);
}

void CqPowerStr::fnFileSize(const char* pszFile) {
    CqFileInfo info;
    ULARGE_INTEGER size;
    size.QuadPart = fnFindFile(pszFile, true, info) ? info.m_nSize : 0;
    fnSizeString(size);
}

void CqPowerStr::fnFileDateTime(const char* pszFile, bool b24Hour, bool bSeconds) {
    CqFileInfo info;
    SYSTEMTIME time{};
    if (fnFindFile(pszFile, false, info) && q32::fnGuardMemory([&] {
            return q32::fnPlatform().m_pLocale->fnGetLocalTime(info.m_nLastWrite, time);
        }))
        fnDateTimeString(time, b24Hour, bSeconds);
}

void CqPowerStr::fnDiskSpace(const char* pszPath, bool bTotal) {
    const CqDiskSpace space = fnFindSpace(pszPath, true);
    ULARGE_INTEGER size;
    size.QuadPart = bTotal ? space.m_nTotal : space.m_nAvailable;
    fnSizeString(size);
}

void CqPowerStr::fnDiskSpace(unsigned int nDrive, bool bTotal) {
    if (DriveRoot::fnExists(nDrive))
        fnDiskSpace(DriveRoot(nDrive).m_szPath, bTotal);
    else
        fnSizeString(0ul);
}

void CqPowerStr::fnDiskSpaceRatio(const char* pszPath, bool bUsed) {
    fnSetRatio(fnFindSpace(pszPath, false), bUsed);
}

void CqPowerStr::fnDiskSpaceRatio(unsigned int nDrive, bool bUsed) {
    if (DriveRoot::fnExists(nDrive))
        fnDiskSpaceRatio(DriveRoot(nDrive).m_szPath, bUsed);
    else
        fnSetRatio(CqDiskSpace(), bUsed);
}

void CqPowerStr::fnSetRatio(const CqDiskSpace& space, bool bUsed) {
    // Deliberate: the share of the low 32 bits, even for large volumes.
    auto totalHigh = static_cast<std::uint32_t>(space.m_nTotal >> 32);
    auto total = static_cast<std::uint32_t>(space.m_nTotal);
    auto value = static_cast<std::uint32_t>(space.m_nAvailable);
    if (bUsed) {
        if (total <= value) {
            --totalHigh;
            total = 0xFFFFFFFF;
        }
        value = total - value;
    }
    for (; totalHigh != 0; totalHigh >>= 1) {
        total >>= 1;
        value >>= 1;
    }
    int percent = 0;
    if (value != 0 && total != 0) // the low half may be 0
        percent = static_cast<int>(static_cast<std::int64_t>(static_cast<double>(value) /
                                                             static_cast<double>(total) * 100));
    Format("%d%%", percent);
}

void CqPowerStr::fnDateTimeString(const CTime& time, bool b24Hour, bool bSeconds) {
    SYSTEMTIME parts{};
    if (q32::fnHasPlatform() && q32::fnGuardMemory([&] { return time.GetAsSystemTime(parts); }))
        fnDateTimeString(parts, b24Hour, bSeconds);
}

void CqPowerStr::fnDateTimeString(const SYSTEMTIME& time, bool b24Hour, bool bSeconds) {
    if (!q32::fnHasPlatform())
        return;
    const UINT flags = (b24Hour ? kTimeForce24Hour : 0) | (bSeconds ? 0 : kTimeNoSeconds);
    q32::fnGuardMemory([&] {
        CqLocaleService& locale = *q32::fnPlatform().m_pLocale;
        std::string date;
        std::string clock;
        if (!locale.fnFormatDate(time, date) || date.size() > kMaxDateBytes ||
            !locale.fnFormatTime(time, flags, clock) || clock.size() > kMaxDateBytes)
            return;
        date += ' ';
        date += clock;
        fnSet(date.c_str());
    });
}
