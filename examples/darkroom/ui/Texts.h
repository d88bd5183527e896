#pragma once

#include <cstdint>
#include <QLocale>
#include <QString>

namespace darkroom {

/// A number of bytes in readable form, in multiples of 1024 and their units. Not the library's own
/// text, which is wrong above 4 GB.
inline QString fnFormatSize(std::uint64_t bytes) {
    return QLocale().formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeIecFormat);
}

} // namespace darkroom
