/// @file
/// The second bytes of marks in a JPEG, which begin with one or more bytes of 0xFF.
#pragma once

namespace q32::jpeg {

constexpr unsigned int kFill = 0xFF; ///< begins a mark, and may be repeated there
constexpr unsigned int kData = 0x00; ///< after a fill byte: that was a byte of data
constexpr unsigned int kTemporary = 0x01;
constexpr unsigned int kFirstFrame = 0xC0; ///< and up to 0xCF, but for three marks
constexpr unsigned int kHuffmanTables = 0xC4;
constexpr unsigned int kReserved = 0xC8;
constexpr unsigned int kArithmeticTables = 0xCC;
constexpr unsigned int kFirstRestart = 0xD0;
constexpr unsigned int kStartOfPicture = 0xD8;
constexpr unsigned int kEndOfPicture = 0xD9;
constexpr unsigned int kStartOfScan = 0xDA;

/// Whether no segment with a length follows it.
constexpr bool fnStandsAlone(unsigned int mark) {
    return mark == kData || mark == kTemporary ||
           (mark >= kFirstRestart && mark <= kStartOfPicture);
}

/// Whether the header of a frame follows it.
constexpr bool fnBeginsFrame(unsigned int mark) {
    return (mark & 0xF0) == kFirstFrame && mark != kHuffmanTables && mark != kReserved &&
           mark != kArithmeticTables;
}

/// Whether the header of a progressive frame follows it, of whatever coding.
constexpr bool fnBeginsProgressive(unsigned int mark) {
    return fnBeginsFrame(mark) && (mark & 3) == 2;
}

} // namespace q32::jpeg
