#pragma once

#include "q32Base/framework/CString.h"
#include "q32Base/framework/CTime.h"
#include "q32Base/platform/CqFileService.h"
#include "q32Base/platform/Records.h"

/// A string that splits and mends paths, and words sizes, disk space and dates for the user. Each
/// operation replaces the whole content with its result; the text that it is given may be the
/// string's own. Separators are looked for by characters of the code page: the backslash is the
/// only one, and a trail byte of its value is none. Memory failures are raised as CString does; any
/// other failure has the result that is told, and shows nothing. Before the start and after the
/// stop, disks, files and dates fail.
class Q32_API CqPowerStr : public CString {
public:
    CqPowerStr() noexcept = default;
    /// A copy of the text. An address below 0x10000 is no text: it is the number of a string-table
    /// entry, which is loaded as CString::LoadString does. Null is empty.
    CqPowerStr(const char* pszText);
    CqPowerStr(const CqPowerStr&) noexcept = default;
    ~CqPowerStr() = default;
    CqPowerStr& operator=(const CqPowerStr&) noexcept = default;
    /// A copy; null is empty. Entry numbers don't count here.
    const CqPowerStr& operator=(const char* pszText);

    // Paths. Where a limit is told, no more of the path is looked at.

    /// Cuts a backslash at the end off in place, deliberately also in the copies that share the
    /// block, and with `GetLength` as before. `fnAppendSlash` can put it back.
    void fnRemoveSlash();
    /// Adds a backslash unless there is one at the end. The empty string becomes a lone backslash.
    /// What lies behind the text's end mark is lost.
    void fnAppendSlash();

    /// All up to and including the last backslash; empty if there is none. Limit: 519 bytes.
    void fnSplitPathName(const char* pszPath);
    /// All after the last backslash; the whole path if there is none.
    void fnSplitFileName(const char* pszPath);
    /// All after the last backslash, up to the first dot there; empty, deliberately, if there is no
    /// backslash. Limit: 259 bytes.
    void fnSplitFileTitle(const char* pszPath);
    /// All after the last dot of the whole path, also one in a directory's name; empty if there is
    /// none.
    void fnSplitExtName(const char* pszPath);
    /// All up to and including the first backslash, not counting a leading pair of them: the drive,
    /// or the server without its share. Empty if there is none. Limit: 259 bytes.
    void fnSplitRootName(const char* pszPath);

    /// Builds a list of segments that are each ended by a zero, as the filter of a file dialog is
    /// one. Start with the empty string; a last call with null closes the list. `GetLength` counts
    /// the zeros between. A string of another origin takes its spare room along.
    void fnSegmentConcat(const char* pszSegment);

    // Texts for the user.

    /// A count of bytes as "1.5 KB", " MB" or " GB". Nothing rounds. The fraction of GB is not
    /// padded, and from 4 GB on, whole units of 4 GB count as 1, both deliberately.
    void fnSizeString(const ULARGE_INTEGER& nSize);
    void fnSizeString(unsigned long nSize);
    /// The size of a file that nobody has open; 0 if it can't be had.
    void fnFileSize(const char* pszFile);
    /// When a file was last written, in local time. Stays as it is if that can't be had, also when
    /// somebody has the file open for himself alone.
    void fnFileDateTime(const char* pszFile, bool b24Hour, bool bSeconds);

    /// Total or available space of the volume that holds a path; 0 if it can't be had.
    void fnDiskSpace(const char* pszPath, bool bTotal);
    /// The same for drive 0 (A) to 25 (Z); there are no others.
    void fnDiskSpace(unsigned int nDrive, bool bTotal);
    /// The used or available share of the volume in whole percent, as "25%"; "0%" if it can't be
    /// had. From 4 GB on, only the low 32 bits of the sizes tell.
    void fnDiskSpaceRatio(const char* pszPath, bool bUsed);
    void fnDiskSpaceRatio(unsigned int nDrive, bool bUsed);

    /// Date and time in the user's short forms, with a blank between; stays as it is if either
    /// can't be had or has more than 259 bytes.
    void fnDateTimeString(const CTime& time, bool b24Hour, bool bSeconds);
    void fnDateTimeString(const SYSTEMTIME& time, bool b24Hour, bool bSeconds);

private:
    void fnSet(const char* pszText);
    void fnSet(const char* pszText, std::size_t length);
    void fnSetRatio(const CqDiskSpace& space, bool bUsed);
};
