#include "platforms/headless/Path_p.h"
#include "platforms/headless/Volume_p.h"

#include <algorithm>
#include <utility>

namespace q32::headless {

std::string fnRootKey(std::string_view root) {
    std::string key = fnFold(fnToBackslashes(root));
    if (key.empty() || key.back() != '\\')
        key += '\\';
    return key;
}

Volume::Volume(const CqHeadlessVolume& setup)
    : m_Setup(setup), m_szKey(fnRootKey(setup.m_szRoot)), m_nCapacity(setup.m_nFree) {
    std::string& root = m_Setup.m_szRoot = fnToBackslashes(setup.m_szRoot);
    if (root.empty() || root.back() != '\\')
        root += '\\';
}

void Volume::fnSetFree(std::uint64_t bytes) {
    m_nCapacity = bytes > ~m_nUsed ? ~std::uint64_t{0} : m_nUsed + bytes;
}

std::uint64_t Volume::fnSwapCapacity(std::uint64_t bytes) {
    return std::exchange(m_nCapacity, bytes);
}

CqDiskClusters Volume::fnGetClusters() const {
    const std::uint64_t bytes =
        std::uint64_t{m_Setup.m_nSectorsPerCluster} * m_Setup.m_nBytesPerSector;
    const auto count = [&](std::uint64_t size) {
        return static_cast<std::uint32_t>(
            std::min<std::uint64_t>(bytes == 0 ? 0 : size / bytes, 0xFFFFFFFFu));
    };
    return m_Clusters.value_or(CqDiskClusters{m_Setup.m_nSectorsPerCluster,
                                              m_Setup.m_nBytesPerSector, count(fnGetFree()),
                                              count(m_Setup.m_nTotal)});
}

void Volume::fnCount(std::uint64_t oldSize, std::uint64_t newSize) {
    // A file of a real folder may have existed before it was counted.
    m_nUsed = m_nUsed + newSize > oldSize ? m_nUsed + newSize - oldSize : 0;
}

void Volume::fnUncount(std::uint64_t size) {
    m_nUsed -= std::min(m_nUsed, size);
}

CqHeadlessFilePtr Volume::fnFindKnown(const Names& names) const {
    const auto found = m_Files.find(fnNamesKey(names));
    return found == m_Files.end() ? nullptr : found->second;
}

std::size_t Volume::fnGetOpenFiles() const {
    return static_cast<std::size_t>(std::count_if(
        m_Files.begin(), m_Files.end(), [](const auto& one) { return one.second->m_nUsers > 0; }));
}

void Volume::fnKeep(const Names& names, const CqHeadlessFilePtr& file) {
    m_Files[fnNamesKey(names)] = file;
}

CqHeadlessFilePtr Volume::fnLoad(const Names& names) const {
    CqHeadlessFilePtr file = fnFindKnown(names);
    return file ? file : fnLoadUnknown(names);
}

bool Volume::fnStat(const Names& names, std::uint64_t& size, std::int64_t& time) const {
    const CqHeadlessFilePtr file = fnFindKnown(names);
    if (!file)
        return fnStatUnknown(names, size, time);
    size = file->m_Bytes.fnGetSize();
    time = file->m_nTime;
    return true;
}

bool Volume::fnSetTime(const Names& names, std::int64_t seconds) {
    const CqHeadlessFilePtr file = fnFindKnown(names);
    if (!file)
        return fnSetTimeUnknown(names, seconds);
    file->m_nTime = seconds;
    return true;
}

} // namespace q32::headless
