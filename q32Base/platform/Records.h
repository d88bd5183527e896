/// @file
/// Platform records and constants that the library uses, with their published layouts. On Windows
/// they are the system's own; elsewhere they are defined here. Names that begin with "tag" serve
/// declarations ahead of the record.
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

using BYTE = std::uint8_t;      ///< 8 bits, unsigned
using WORD = std::uint16_t;     ///< 16 bits, unsigned
using DWORD = std::uint32_t;    ///< 32 bits, unsigned
using LONG = std::int32_t;      ///< 32 bits, signed
using UINT = std::uint32_t;     ///< 32 bits, unsigned
using HRESULT = std::int32_t;   ///< a result: below 0 for a failure
using COLORREF = std::uint32_t; ///< red in bits 0 to 7, green in 8 to 15, blue in 16 to 23
using WPARAM = std::uintptr_t;  ///< first argument of a message
using LPARAM = std::intptr_t;   ///< second argument of a message
using LRESULT = std::intptr_t;  ///< answer to a message

/// A loaded module, in which resources are found. Opaque: only a resource service interprets it.
using HINSTANCE = struct HINSTANCE__*;

/// A window as messages identify it: the address of its CWnd.
using HWND = struct HWND__*;

/// What a child window sends its parent with WM_NOTIFY.
struct tagNMHDR {
    HWND hwndFrom;         ///< the child
    std::uintptr_t idFrom; ///< the child's id
    UINT code;             ///< what has happened, as the child numbers it
};
using NMHDR = tagNMHDR; ///< `tagNMHDR` under the name that hosts use

/// One colour of a bitmap's table: blue first.
struct tagRGBQUAD {
    BYTE rgbBlue;     ///< 0 to 255, as the others
    BYTE rgbGreen;    ///< second byte
    BYTE rgbRed;      ///< third byte
    BYTE rgbReserved; ///< not a part of the colour
};
using RGBQUAD = tagRGBQUAD; ///< `tagRGBQUAD` under the name that hosts use

/// One colour of a palette object: red first.
struct tagPALETTEENTRY {
    BYTE peRed;   ///< 0 to 255, as the others
    BYTE peGreen; ///< second byte
    BYTE peBlue;  ///< third byte
    BYTE peFlags; ///< for the system; the library only copies them
};
using PALETTEENTRY = tagPALETTEENTRY; ///< `tagPALETTEENTRY` under the name that hosts use

/// Header of a palette description; palNumEntries entries start at palPalEntry.
struct tagLOGPALETTE {
    WORD palVersion;             ///< 0x300
    WORD palNumEntries;          ///< at least 1
    PALETTEENTRY palPalEntry[1]; ///< the first entry; the others follow the record
};
using LOGPALETTE = tagLOGPALETTE; ///< `tagLOGPALETTE` under the name that hosts use

/// Header of a device-independent bitmap: 40 bytes, followed by the colour table or three masks.
struct tagBITMAPINFOHEADER {
    DWORD biSize;         ///< bytes of this header: 40
    LONG biWidth;         ///< in pixels
    LONG biHeight;        ///< above 0: rows stored from the bottom up
    WORD biPlanes;        ///< 1
    WORD biBitCount;      ///< bits per pixel
    DWORD biCompression;  ///< BI_RGB, BI_RLE8, BI_RLE4 or BI_BITFIELDS
    DWORD biSizeImage;    ///< bytes of the pixels; 0 where the size alone gives them
    LONG biXPelsPerMeter; ///< horizontal resolution, in pixels per metre
    LONG biYPelsPerMeter; ///< vertical resolution, in pixels per metre
    DWORD biClrUsed;      ///< entries of the colour table; 0: as many as the depth allows
    DWORD biClrImportant; ///< entries that a device should show; 0: all
};
using BITMAPINFOHEADER =
    tagBITMAPINFOHEADER; ///< `tagBITMAPINFOHEADER` under the name that hosts use

#pragma pack(push, 1)
/// Format of PCM sound; 18 bytes, packed as published.
struct tWAVEFORMATEX {
    WORD wFormatTag;       ///< 1 for PCM
    WORD nChannels;        ///< 1 for mono, 2 for stereo
    DWORD nSamplesPerSec;  ///< frames per second
    DWORD nAvgBytesPerSec; ///< `nSamplesPerSec` x `nBlockAlign`
    WORD nBlockAlign;      ///< bytes of a frame: one sample of each channel
    WORD wBitsPerSample;   ///< of one channel
    WORD cbSize;           ///< bytes of further data after this record; 0 for PCM
};
#pragma pack(pop)
using WAVEFORMATEX = tWAVEFORMATEX; ///< `tWAVEFORMATEX` under the name that hosts use

/// One block passed to the sound device. Pointers have native width.
struct wavehdr_tag {
    char* lpData;          ///< the samples; not owned
    DWORD dwBufferLength;  ///< their length in bytes
    DWORD dwBytesRecorded; ///< for recording; not used
    std::uintptr_t dwUser; ///< for whoever plays the block; the device leaves it alone
    DWORD dwFlags;         ///< state, kept by the device, and the two loop flags, set by the caller
    DWORD dwLoops; ///< how often the block is played, with the loop flags; all bits set: endlessly
    wavehdr_tag* lpNext;     ///< for the device
    std::uintptr_t reserved; ///< for the device
};
using WAVEHDR = wavehdr_tag; ///< `wavehdr_tag` under the name that hosts use

/// A 64-bit byte count of a disk, also as two halves.
union ULARGE_INTEGER {
    struct {
        DWORD LowPart;  ///< bits 0 to 31
        DWORD HighPart; ///< bits 32 to 63
    };
    struct {
        DWORD LowPart;      ///< bits 0 to 31
        DWORD HighPart;     ///< bits 32 to 63
    } u;                    ///< the halves by a name
    std::uint64_t QuadPart; ///< all 64 bits
};

/// A date and a time of day.
struct SYSTEMTIME {
    WORD wYear;         ///< with the century
    WORD wMonth;        ///< 1 to 12
    WORD wDayOfWeek;    ///< 0 for Sunday to 6
    WORD wDay;          ///< 1 to 31
    WORD wHour;         ///< 0 to 23
    WORD wMinute;       ///< 0 to 59
    WORD wSecond;       ///< 0 to 59
    WORD wMilliseconds; ///< 0 to 999
};

/// A module's version, as `DllGetVersion` reports it.
struct DLLVERSIONINFO {
    DWORD cbSize;         ///< bytes to clear first, set by the caller
    DWORD dwMajorVersion; ///< high half of the product version
    DWORD dwMinorVersion; ///< low half of the product version
    DWORD dwBuildNumber;  ///< 0
    DWORD dwPlatformID;   ///< 1
};

/// A position in pixels.
struct tagPOINT {
    LONG x; ///< grows to the right
    LONG y; ///< grows downwards
};
using POINT = tagPOINT; ///< `tagPOINT` under the name that hosts use

/// A width and a height in pixels.
struct tagSIZE {
    LONG cx; ///< width
    LONG cy; ///< height
};
using SIZE = tagSIZE; ///< `tagSIZE` under the name that hosts use

/// A rectangle; right and bottom are exclusive.
struct tagRECT {
    LONG left;   ///< first column
    LONG top;    ///< first row
    LONG right;  ///< the column after the last one
    LONG bottom; ///< the row after the last one
};
using RECT = tagRECT; ///< `tagRECT` under the name that hosts use

/// A requested font.
struct tagLOGFONTA {
    LONG lfHeight;         ///< in pixels; below 0: without the internal leading
    LONG lfWidth;          ///< mean width of a character; 0: what suits the height
    LONG lfEscapement;     ///< angle of the line of text, in tenths of a degree, counter-clockwise
    LONG lfOrientation;    ///< angle of a character, likewise
    LONG lfWeight;         ///< 400 is regular, 700 bold; 0: any
    BYTE lfItalic;         ///< 1: italic
    BYTE lfUnderline;      ///< 1: underlined
    BYTE lfStrikeOut;      ///< 1: struck out
    BYTE lfCharSet;        ///< number of a character set; 0 for western European, 1 for the default
    BYTE lfOutPrecision;   ///< hint to the system; 0: none
    BYTE lfClipPrecision;  ///< hint to the system; 0: none
    BYTE lfQuality;        ///< hint to the system; 0: none
    BYTE lfPitchAndFamily; ///< bits 0 and 1: fixed or variable pitch; bits 4 to 7: family
    char lfFaceName[32];   ///< name of the typeface, ended by a NUL; empty: any
};
using LOGFONTA = tagLOGFONTA; ///< `tagLOGFONTA` under the name that hosts use

/// Metrics of an actual font, in pixels.
struct tagTEXTMETRICA {
    LONG tmHeight;           ///< ascent and descent together
    LONG tmAscent;           ///< above the base line
    LONG tmDescent;          ///< below the base line
    LONG tmInternalLeading;  ///< part of the ascent that is left for accents
    LONG tmExternalLeading;  ///< recommended space between lines, not part of the height
    LONG tmAveCharWidth;     ///< mean width of a character
    LONG tmMaxCharWidth;     ///< width of the widest character
    LONG tmWeight;           ///< 400 is regular, 700 bold
    LONG tmOverhang;         ///< extra width of a synthesized bold or italic font
    LONG tmDigitizedAspectX; ///< horizontal dots per inch that the font was made for
    LONG tmDigitizedAspectY; ///< vertical dots per inch that the font was made for
    BYTE tmFirstChar;        ///< first character that the font has
    BYTE tmLastChar;         ///< last character that the font has
    BYTE tmDefaultChar;      ///< shown for characters that it lacks
    BYTE tmBreakChar;        ///< at which words end
    BYTE tmItalic;           ///< 0 unless italic
    BYTE tmUnderlined;       ///< 0 unless underlined
    BYTE tmStruckOut;        ///< 0 unless struck out
    BYTE tmPitchAndFamily;   ///< as in a requested font; bit 0 is set for a variable pitch
    BYTE tmCharSet;          ///< as in a requested font
};
using TEXTMETRICA = tagTEXTMETRICA; ///< `tagTEXTMETRICA` under the name that hosts use

inline constexpr DWORD BI_RGB = 0;       ///< rows of pixels, not compressed
inline constexpr DWORD BI_RLE8 = 1;      ///< runs of 8-bit indices
inline constexpr DWORD BI_RLE4 = 2;      ///< runs of 4-bit indices
inline constexpr DWORD BI_BITFIELDS = 3; ///< rows of pixels, with three masks before them

inline constexpr UINT DIB_RGB_COLORS = 0; ///< the colour table holds colours
inline constexpr UINT DIB_PAL_COLORS = 1; ///< it holds 16-bit indices into the selected palette

inline constexpr int HORZRES = 8;     ///< `CDC::GetDeviceCaps`: width in pixels
inline constexpr int VERTRES = 10;    ///< height in pixels
inline constexpr int BITSPIXEL = 12;  ///< bits per pixel
inline constexpr int LOGPIXELSX = 88; ///< horizontal dots per inch
inline constexpr int LOGPIXELSY = 90; ///< vertical dots per inch

inline constexpr int RGN_AND = 1;  ///< `CRgn::CombineRgn`: pixels of both regions
inline constexpr int RGN_OR = 2;   ///< pixels of either region
inline constexpr int RGN_XOR = 3;  ///< pixels of only one of them
inline constexpr int RGN_DIFF = 4; ///< pixels of the first that aren't of the second
inline constexpr int RGN_COPY = 5; ///< pixels of the first

inline constexpr int COLOR_BTNFACE = 15; ///< `CDC::FillRect`: the colour of buttons and bars

inline constexpr int TRANSPARENT = 1; ///< `CDC::SetBkMode`: text leaves its background
inline constexpr int OPAQUE = 2;      ///< text fills its background

inline constexpr UINT DT_CENTER = 0x1;      ///< `CDC::DrawText`: centred horizontally
inline constexpr UINT DT_VCENTER = 0x4;     ///< centred vertically, for a single line
inline constexpr UINT DT_SINGLELINE = 0x20; ///< line ends don't break the line
inline constexpr UINT DT_CALCRECT = 0x400;  ///< measures and draws nothing

inline constexpr DWORD SRCCOPY = 0x00CC0020; ///< `CDC::BitBlt`: the source replaces the target

inline constexpr UINT MB_OK = 0;                 ///< message boxes: one button
inline constexpr UINT MB_OKCANCEL = 1;           ///< two buttons
inline constexpr UINT MB_YESNOCANCEL = 3;        ///< three buttons
inline constexpr UINT MB_YESNO = 4;              ///< two buttons
inline constexpr UINT MB_ICONHAND = 0x10;        ///< icon of an error
inline constexpr UINT MB_ICONQUESTION = 0x20;    ///< icon of a question
inline constexpr UINT MB_ICONEXCLAMATION = 0x30; ///< icon of a warning
inline constexpr UINT MB_ICONASTERISK = 0x40;    ///< icon of information
inline constexpr UINT MB_ICONMASK = 0x70;        ///< the bits of the icon

inline constexpr int IDOK = 1;     ///< answer of a message box: OK
inline constexpr int IDCANCEL = 2; ///< Cancel, or the box was closed
inline constexpr int IDYES = 6;    ///< Yes
inline constexpr int IDNO = 7;     ///< No

inline constexpr UINT TB_ENABLEBUTTON = 0x401; ///< wParam: the button's command, lParam: 1 or 0

inline constexpr int VK_ESCAPE = 27;        ///< number of the Esc key
inline constexpr UINT WM_DESTROY = 0x2;     ///< the window is being destroyed
inline constexpr UINT WM_ERASEBKGND = 0x14; ///< wParam: the CDC* to erase on
inline constexpr UINT WM_NOTIFY = 0x4E;     ///< wParam: the child's id, lParam: its NMHDR
inline constexpr UINT WM_KEYDOWN = 0x100;   ///< wParam: the key
inline constexpr UINT WM_KEYUP = 0x101;     ///< wParam: the key
inline constexpr UINT WM_CHAR = 0x102;      ///< wParam: the character
inline constexpr UINT WM_KEYFIRST = 0x100;  ///< first of the messages of keys
inline constexpr UINT WM_KEYLAST = 0x108;   ///< last of the messages of keys
inline constexpr UINT MM_MIXM_CONTROL_CHANGE =
    0x3D1;                                  ///< wParam: the mixer, lParam: the control's id
inline constexpr UINT PBM_SETRANGE = 0x401; ///< lParam: low word the lower end, high word the upper
inline constexpr UINT PBM_SETPOS = 0x402;   ///< wParam: the position

#endif

// Types of resources, as numbers.
inline constexpr WORD RT_BITMAP_ID = 2;   ///< bitmaps, without a file header
inline constexpr WORD RT_STRING_ID = 6;   ///< string tables, in blocks of 16
inline constexpr WORD RT_VERSION_ID = 16; ///< the version of the module

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
