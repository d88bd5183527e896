/// @file
/// Scratch services, and buffers made by them step by step.
#pragma once

#include "platforms/posix/CqPosixScratch_p.h"
#include "tests/platforms/PosixTestTools.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace q32::test {

inline std::shared_ptr<CqScratchService> fnNewService() {
    return q32PosixPlatform().m_pScratch;
}

/// A service in a process that may use so much memory.
template <std::uint64_t kMemory>
std::shared_ptr<CqScratchService> fnNewServiceOfMemory() {
    return std::make_shared<CqPosixScratch>(std::make_shared<q32::posix::CodePage>(""),
                                            [] { return kMemory; });
}

inline std::string fnNative(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

inline struct stat fnFacts(const std::string& name) {
    struct stat facts {};
    ::stat(fnNative(name).c_str(), &facts);
    return facts;
}

inline bool fnStands(const std::string& name) {
    return std::filesystem::exists(std::filesystem::symlink_status(fnNative(name)));
}

/// A scratch buffer, created through all its steps.
struct Buffer {
    Buffer(CqScratchService& scratch, const std::string& directory, std::uint32_t size)
        : m_Scratch(scratch), m_nSize(size) {
        if (!scratch.fnCreateName(directory.c_str(), "~qd", m_Name))
            return;
        m_File = scratch.fnOpen(m_Name.c_str());
        if (!scratch.fnSetSize(m_File, size))
            return;
        m_File = scratch.fnReopen(m_File, m_Name.c_str());
        m_Mapping = scratch.fnCreateMapping(m_File, size);
        m_pView = static_cast<char*>(scratch.fnMapView(m_Mapping, size));
    }
    ~Buffer() {
        if (m_pView)
            m_Scratch.fnUnmapView(m_pView, m_nSize);
        m_Scratch.fnCloseMapping(m_Mapping);
        m_Scratch.fnClose(m_File);
        m_Scratch.fnDelete(m_Name.c_str());
    }

    CqScratchService& m_Scratch;
    std::uint32_t m_nSize;
    std::string m_Name;
    CqFileHandle m_File = kNoFile;
    CqMappingHandle m_Mapping = kNoMapping;
    char* m_pView = nullptr;
};

} // namespace q32::test
