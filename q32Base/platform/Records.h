/// @file
/// Platform records and constants that the library uses, with their published layouts. On Windows
/// they are the system's own; elsewhere they are defined here.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
// The others need the first one.
// clang-format off
#include <windows.h>
#include <commctrl.h>
#include <mmsystem.h>
#include <shlwapi.h>
// clang-format on

// A host may include <windows.h> before this header, perhaps with these two macros.
#undef min
#undef max

// The system's headers define macros for its functions with texts, which would rename members of
// the same name, and differently with and without UNICODE. Functions of the system's names replace
// them.
#ifdef UNICODE
#define Q32_SYSTEM_NAME(name) name##W
#else
#define Q32_SYSTEM_NAME(name) name##A
#endif
#undef CreateFontIndirect
static inline HFONT CreateFontIndirect(const LOGFONT* font) {
    return Q32_SYSTEM_NAME(CreateFontIndirect)(font);
}
#undef DrawText
static inline int DrawText(HDC dc, LPCTSTR text, int count, LPRECT rect, UINT format) {
    return Q32_SYSTEM_NAME(DrawText)(dc, text, count, rect, format);
}
#undef GetObject
static inline int GetObject(HGDIOBJ object, int size, LPVOID record) {
    return Q32_SYSTEM_NAME(GetObject)(object, size, record);
}
#undef GetTextExtentPoint32
static inline BOOL GetTextExtentPoint32(HDC dc, LPCTSTR text, int count, LPSIZE size) {
    return Q32_SYSTEM_NAME(GetTextExtentPoint32)(dc, text, count, size);
}
#undef GetTextMetrics
static inline BOOL GetTextMetrics(HDC dc, LPTEXTMETRIC metrics) {
    return Q32_SYSTEM_NAME(GetTextMetrics)(dc, metrics);
}
#undef LoadString
static inline int LoadString(HINSTANCE module, UINT id, LPTSTR text, int size) {
    return Q32_SYSTEM_NAME(LoadString)(module, id, text, size);
}
#undef SendMessage
static inline LRESULT SendMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return Q32_SYSTEM_NAME(SendMessage)(window, message, wParam, lParam);
}
#undef Q32_SYSTEM_NAME
#else

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using HRESULT = std::int32_t;
using COLORREF = std::uint32_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;

/// A loaded module, in which resources are found. Opaque: only a resource service interprets it.
using HINSTANCE = struct HINSTANCE__*;

/// A window as messages identify it: the address of its CWnd.
using HWND = struct HWND__*;

/// What a child window sends its parent with WM_NOTIFY.
struct tagNMHDR {
    HWND hwndFrom;
    std::uintptr_t idFrom; ///< the child's id
    UINT code;
};
using NMHDR = tagNMHDR;

/// One colour of a bitmap's table: blue first.
struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
};
using RGBQUAD = tagRGBQUAD;

/// One colour of a palette object: red first.
struct tagPALETTEENTRY {
    BYTE peRed;
    BYTE peGreen;
    BYTE peBlue;
    BYTE peFlags;
};
using PALETTEENTRY = tagPALETTEENTRY;

/// Header of a palette description; palNumEntries entries start at palPalEntry.
struct tagLOGPALETTE {
    WORD palVersion;
    WORD palNumEntries;
    PALETTEENTRY palPalEntry[1];
};
using LOGPALETTE = tagLOGPALETTE;

/// Header of a device-independent bitmap: 40 bytes, followed by the colour table or three masks.
struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight; ///< above 0: rows stored from the bottom up
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};
using BITMAPINFOHEADER = tagBITMAPINFOHEADER;

#pragma pack(push, 1)
/// Format of PCM sound; 18 bytes, packed as published.
struct tWAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
};
#pragma pack(pop)
using WAVEFORMATEX = tWAVEFORMATEX;

/// One block passed to the sound device. Pointers have native width.
struct wavehdr_tag {
    char* lpData;
    DWORD dwBufferLength;
    DWORD dwBytesRecorded;
    std::uintptr_t dwUser;
    DWORD dwFlags;
    DWORD dwLoops;
    wavehdr_tag* lpNext;
    std::uintptr_t reserved;
};
using WAVEHDR = wavehdr_tag;

/// A 64-bit byte count of a disk, also as two halves.
union ULARGE_INTEGER {
    struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    struct {
        DWORD LowPart;
        DWORD HighPart;
    } u;
    std::uint64_t QuadPart;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth; ///< 1 to 12
    WORD wDayOfWeek;
    WORD wDay; ///< 1 to 31
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

/// A module's version, as `DllGetVersion` reports it.
struct DLLVERSIONINFO {
    DWORD cbSize;
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformID;
};

struct tagPOINT {
    LONG x;
    LONG y;
};
using POINT = tagPOINT;

struct tagSIZE {
    LONG cx;
    LONG cy;
};
using SIZE = tagSIZE;

/// A rectangle; right and bottom are exclusive.
struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};
using RECT = tagRECT;

/// A requested font.
struct tagLOGFONTA {
    LONG lfHeight; ///< below 0: without the internal leading
    LONG lfWidth;
    LONG lfEscapement;
    LONG lfOrientation;
    LONG lfWeight;
    BYTE lfItalic;
    BYTE lfUnderline;
    BYTE lfStrikeOut;
    BYTE lfCharSet;
    BYTE lfOutPrecision;
    BYTE lfClipPrecision;
    BYTE lfQuality;
    BYTE lfPitchAndFamily;
    char lfFaceName[32];
};
using LOGFONTA = tagLOGFONTA;

/// Metrics of an actual font, in pixels.
struct tagTEXTMETRICA {
    LONG tmHeight; ///< ascent and descent together
    LONG tmAscent;
    LONG tmDescent;
    LONG tmInternalLeading;
    LONG tmExternalLeading;
    LONG tmAveCharWidth;
    LONG tmMaxCharWidth;
    LONG tmWeight;
    LONG tmOverhang;
    LONG tmDigitizedAspectX;
    LONG tmDigitizedAspectY;
    BYTE tmFirstChar;
    BYTE tmLastChar;
    BYTE tmDefaultChar;
    BYTE tmBreakChar;
    BYTE tmItalic;
    BYTE tmUnderlined;
    BYTE tmStruckOut;
    BYTE tmPitchAndFamily;
    BYTE tmCharSet;
};
using TEXTMETRICA = tagTEXTMETRICA;

inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_RLE8 = 1;
inline constexpr DWORD BI_RLE4 = 2;
inline constexpr DWORD BI_BITFIELDS = 3;

inline constexpr UINT DIB_RGB_COLORS = 0;
inline constexpr UINT DIB_PAL_COLORS = 1;

inline constexpr int HORZRES = 8;
inline constexpr int VERTRES = 10;
inline constexpr int BITSPIXEL = 12;
inline constexpr int LOGPIXELSX = 88;
inline constexpr int LOGPIXELSY = 90;

inline constexpr int RGN_AND = 1;
inline constexpr int RGN_OR = 2;
inline constexpr int RGN_XOR = 3;
inline constexpr int RGN_DIFF = 4;
inline constexpr int RGN_COPY = 5;

inline constexpr int COLOR_BTNFACE = 15;

inline constexpr int TRANSPARENT = 1;
inline constexpr int OPAQUE = 2;

inline constexpr UINT DT_CENTER = 0x1;
inline constexpr UINT DT_VCENTER = 0x4;
inline constexpr UINT DT_SINGLELINE = 0x20;
inline constexpr UINT DT_CALCRECT = 0x400;

inline constexpr DWORD SRCCOPY = 0x00CC0020;

inline constexpr UINT MB_OK = 0;
inline constexpr UINT MB_OKCANCEL = 1;
inline constexpr UINT MB_YESNOCANCEL = 3;
inline constexpr UINT MB_YESNO = 4;
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_ICONMASK = 0x70;

inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

/// wParam: the button's command, lParam: 1 or 0.
inline constexpr UINT TB_ENABLEBUTTON = 0x401;

inline constexpr int VK_ESCAPE = 27;
inline constexpr UINT WM_DESTROY = 0x2;
inline constexpr UINT WM_ERASEBKGND = 0x14;
inline constexpr UINT WM_NOTIFY = 0x4E; ///< wParam: the child's id, lParam: its NMHDR
inline constexpr UINT WM_KEYDOWN = 0x100;
inline constexpr UINT WM_KEYUP = 0x101;
inline constexpr UINT WM_CHAR = 0x102;
inline constexpr UINT WM_KEYFIRST = 0x100;
inline constexpr UINT WM_KEYLAST = 0x108;
/// wParam: the mixer, lParam: the control's id.
inline constexpr UINT MM_MIXM_CONTROL_CHANGE = 0x3D1;
inline constexpr UINT PBM_SETRANGE = 0x401; ///< lParam: low word the lower end, high word the upper
inline constexpr UINT PBM_SETPOS = 0x402;   ///< wParam: the position

#endif

// Types of resources, as numbers.
inline constexpr WORD RT_BITMAP_ID = 2;
inline constexpr WORD RT_STRING_ID = 6;
inline constexpr WORD RT_VERSION_ID = 16;

static_assert(sizeof(RGBQUAD) == 4 && offsetof(RGBQUAD, rgbRed) == 2);
static_assert(sizeof(PALETTEENTRY) == 4 && offsetof(PALETTEENTRY, peBlue) == 2);
static_assert(sizeof(LOGPALETTE) == 8 && offsetof(LOGPALETTE, palPalEntry) == 4);
static_assert(sizeof(BITMAPINFOHEADER) == 40 && offsetof(BITMAPINFOHEADER, biBitCount) == 14 &&
              offsetof(BITMAPINFOHEADER, biCompression) == 16 &&
              offsetof(BITMAPINFOHEADER, biClrUsed) == 32);
static_assert(sizeof(WAVEFORMATEX) == 18 && offsetof(WAVEFORMATEX, nBlockAlign) == 12);
static_assert(sizeof(WAVEHDR) == 16 + 4 * sizeof(void*) &&
              offsetof(WAVEHDR, dwFlags) == 8 + 2 * sizeof(void*));
static_assert(sizeof(ULARGE_INTEGER) == 8 && offsetof(ULARGE_INTEGER, HighPart) == 4);
static_assert(sizeof(SYSTEMTIME) == 16 && offsetof(SYSTEMTIME, wDayOfWeek) == 4);
static_assert(sizeof(NMHDR) == 3 * sizeof(void*) && offsetof(NMHDR, code) == 2 * sizeof(void*));
static_assert(sizeof(POINT) == 8 && sizeof(SIZE) == 8 && offsetof(RECT, bottom) == 12);
static_assert(sizeof(LONG) == 4 && sizeof(DWORD) == 4 && sizeof(UINT) == 4 && sizeof(WORD) == 2);
static_assert(sizeof(WPARAM) == sizeof(void*) && sizeof(LRESULT) == sizeof(void*));
static_assert(sizeof(DLLVERSIONINFO) == 20 && offsetof(DLLVERSIONINFO, dwPlatformID) == 16);
static_assert(sizeof(RECT) == 16 && sizeof(COLORREF) == 4);
static_assert(sizeof(LOGFONTA) == 60 && offsetof(LOGFONTA, lfFaceName) == 28);
static_assert(sizeof(TEXTMETRICA) == 56 && offsetof(TEXTMETRICA, tmCharSet) == 52);
