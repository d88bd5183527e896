/// @file
/// Conversion between the library's texts, which are bytes in the user's code page, and Qt's.
#pragma once

#include "platforms/posix/CodePage_p.h"

#include <QList>
#include <QString>
#include <string>
#include <string_view>

namespace q32::qt {

/// Converts to Qt; an invalid byte becomes the replacement character.
QString fnToText(const posix::CodePage& codePage, std::string_view bytes);
/// Converts from Qt; a character missing from the code page becomes a question mark.
std::string fnToBytes(const posix::CodePage& codePage, const QString& text);

} // namespace q32::qt
