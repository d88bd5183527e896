#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/framework/CTime.h"
#include "q32Base/platform/CqFileService.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

/// A string that splits and completes paths, and formats sizes, disk space and dates for the user.
/// Each operation replaces the whole content with its result; its argument may be the string's own
/// text. The only separator is the backslash; a trail byte of that value in a multibyte character
/// isn't one. Exhausted memory raises the memory exception as in CString; any other failure has the
/// documented result and shows no message. Queries of disks, files and dates fail while the library
/// is not attached.
class Q32_API CqPowerStr : public CString {
public:
    /// Empty.
    CqPowerStr() noexcept = default;
    /// Copies a text; null is empty. An address below 0x10000 isn't a text but the id of a
    /// string-table entry, which is loaded as CString::LoadString does.
    CqPowerStr(const char* pszText);
    CqPowerStr(const CqPowerStr&) noexcept = default;
    ~CqPowerStr() = default;
    CqPowerStr& operator=(const CqPowerStr&) noexcept = default;
    /// Copies a text; null is empty. Ids of string-table entries aren't accepted here.
    const CqPowerStr& operator=(const char* pszText);

    // Paths. Where a limit is stated, only that much of the path is examined.

    /// Removes a trailing backslash in place, deliberately also in the copies that share the block,
    /// and without changing `GetLength`; `ReleaseBuffer()` afterwards gives the string its own
    /// block and length. `fnAppendSlash` can restore the backslash.
    void fnRemoveSlash();
    /// Appends a backslash unless there is one at the end. The empty string becomes a single
    /// backslash. Anything after the first NUL is lost.
    void fnAppendSlash();

    /// Everything up to and including the last backslash; empty if there is none. Limit: 519 bytes.
    void fnSplitPathName(const char* pszPath);
    /// Everything after the last backslash; the whole path if there is none.
    void fnSplitFileName(const char* pszPath);
    /// Everything after the last backslash, up to the first dot there; deliberately empty without a
    /// backslash: call `fnSplitFileName` instead. Limit: 259 bytes.
    void fnSplitFileTitle(const char* pszPath);
    /// Everything after the last dot of the whole path, even one in a directory's name; empty if
    /// there is none.
    void fnSplitExtName(const char* pszPath);
    /// Everything up to and including the first backslash, not counting a leading pair of them: the
    /// drive, or the server without its share. Empty if there is none. Limit: 259 bytes.
    void fnSplitRootName(const char* pszPath);

    /// Appends a segment to a list of NUL-terminated segments, such as the filter of a file dialog.
    /// Start with the empty string; a final call with null ends the list. `GetLength` includes the
    /// NULs between segments. The spare capacity of a string made in any other way becomes part of
    /// the list.
    void fnSegmentConcat(const char* pszSegment);

    // Texts for the user.

    /// A byte count in KB, MB or GB, such as "1.5 KB", truncated. Deliberately, the fraction of GB
    /// isn't zero-padded, and from 4 GB on each full 4 GB counts as 1 (docs/behaviour/services.md).
    void fnSizeString(const ULARGE_INTEGER& nSize);
    void fnSizeString(unsigned long nSize);
    /// The size of a file that nobody has open; 0 if it is unavailable.
    void fnFileSize(const char* pszFile);
    /// Local time of a file's last write. Unchanged if that is unavailable, which includes a file
    /// that is open exclusively.
    void fnFileDateTime(const char* pszFile, bool b24Hour, bool bSeconds);

    /// Total or available space of the volume that holds a path; 0 if it is unavailable.
    void fnDiskSpace(const char* pszPath, bool bTotal);
    /// The same for drive 0 (A) to 25 (Z); 0 for any other.
    void fnDiskSpace(unsigned int nDrive, bool bTotal);
    /// The used or available share of the volume in percent, truncated, such as "25%"; "0%" if it
    /// is unavailable. Deliberately, from 4 GB on only the low 32 bits of the sizes count: divide
    /// the byte counts of the platform's file service instead.
    void fnDiskSpaceRatio(const char* pszPath, bool bUsed);
    void fnDiskSpaceRatio(unsigned int nDrive, bool bUsed);

    /// Date and time in the user's short forms, separated by a space; unchanged if either is
    /// unavailable or longer than 259 bytes.
    void fnDateTimeString(const CTime& time, bool b24Hour, bool bSeconds);
    void fnDateTimeString(const SYSTEMTIME& time, bool b24Hour, bool bSeconds);

private:
    Q32_LOCAL void fnSet(const char* pszText);
    Q32_LOCAL void fnSet(const char* pszText, std::size_t length);
    Q32_LOCAL void fnSetRatio(const CqDiskSpace& space, bool bUsed);
};
