#include "q32Base/framework/DiskSpace_p.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"

namespace q32 {

bool fnGetDiskSpace(const char* path, bool fallBack, CqDiskSpace& space) {
    return fnGuardMemory([&] {
        CqFileService& files = *fnPlatform().m_pFiles;
        if (files.fnHasWideSpaceQuery()) {
            if (files.fnGetSpace(path, space))
                return true;
            if (!fallBack)
                return false;
        }
        CqDiskClusters clusters;
        if (!files.fnGetClusters(path, clusters))
            return false;
        const std::uint32_t bytes = clusters.m_nSectorsPerCluster * clusters.m_nBytesPerSector;
        space.m_nAvailable = bytes * clusters.m_nFreeClusters;
        space.m_nTotal = bytes * clusters.m_nTotalClusters;
        return true;
    });
}

} // namespace q32
