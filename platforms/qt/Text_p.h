/// @file
/// Conversion between the library's texts, which are bytes in the user's code page, and Qt's.
#pragma once

#include "platforms/posix/CodePage_p.h"

#include <cstddef>
#include <QList>
#include <QString>
#include <string>
#include <string_view>

namespace q32::qt {

/// Converts to Qt; an invalid byte becomes the replacement character.
/// @param unfinished  if not null, receives how many bytes at the end begin a character without
///                    completing it; each of them is one character of the result
QString fnToText(const posix::CodePage& codePage, std::string_view bytes,
                 std::size_t* unfinished = nullptr);
/// Converts from Qt; a character missing from the code page becomes a question mark.
std::string fnToBytes(const posix::CodePage& codePage, const QString& text);

} // namespace q32::qt
