#pragma once

#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/services/CqPowerStr.h"

#include <cstdint>
#include <QFile>
#include <QLocale>
#include <QString>

namespace darkroom {

/// A number of bytes in readable form, in multiples of 1024 and their units. Not the library's own
/// text, which is wrong above 4 GB.
inline QString fnFormatSize(std::uint64_t bytes) {
    return QLocale().formattedDataSize(static_cast<qint64>(bytes), 1, QLocale::DataSizeIecFormat);
}

/// The folder of a scratch disk; the library's own path ends in a separator.
inline QString fnGetDiskFolder(unsigned int disk) {
    CqPowerStr bare;
    bare = q32GetVMPolicy()->fnGetDisk(disk);
    bare.fnRemoveSlash();
    return QFile::decodeName(static_cast<const char*>(bare));
}

} // namespace darkroom
