#pragma once

#include "platforms/headless/CqHeadlessBlock.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// A file of the headless world, kept while it is in use.
struct CqHeadlessFile {
    std::string m_szName;     ///< full name
    std::size_t m_nVolume;    ///< index of its volume
    CqHeadlessBlock m_Bytes;  ///< content
    std::int64_t m_nTime = 0; ///< of the last write, in seconds since 1970-01-01 00:00 UTC
    unsigned m_nUsers = 0;    ///< open handles, streams, mappings and views
    unsigned m_nViews = 0;    ///< mappings and views: the size is fixed
    bool m_bUnshared = false; ///< its only handle excludes all others
    bool m_bChanged = false;  ///< differs from the file in the volume's real folder
};
/// Shared by the disks and the users of the file.
using CqHeadlessFilePtr = std::shared_ptr<CqHeadlessFile>;
