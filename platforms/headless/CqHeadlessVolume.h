#pragma once

#include <cstdint>
#include <string>

/// A disk of the headless world.
struct CqHeadlessVolume {
    std::string m_szRoot = "C:\\";           ///< `C:\`, `\\server\`, `/` or `/srv/`
    std::uint64_t m_nTotal = 0x80000000u;    ///< bytes
    std::uint64_t m_nFree = 0x40000000u;     ///< bytes free before the first file is put on it
    std::string m_szFolder = {};             ///< real folder that holds the files; empty: memory
    std::uint32_t m_nSectorsPerCluster = 8u; ///< for the cluster query
    std::uint32_t m_nBytesPerSector = 512u;  ///< for the cluster query
};
