/// @file
/// Texts of the library, which are bytes in the user's code page, as Qt's, and back.
#pragma once

#include "platforms/posix/CodePage.h"

#include <QList>
#include <QString>
#include <string>
#include <string_view>

namespace q32::qt {

/// A byte that belongs to no character becomes the replacement character.
QString fnToText(const posix::CodePage& codePage, std::string_view bytes);
/// A character that the code page doesn't have becomes a question mark.
std::string fnToBytes(const posix::CodePage& codePage, const QString& text);

} // namespace q32::qt
