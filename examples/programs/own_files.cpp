// Files of the host's own: names that begin with "memory:" are read from memory, all others from
// the system's disks: own_files <picture>
#include "platforms/posix/posix.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string_view>

/// A file that is read from memory, at any position.
struct Stream final : CqFileStream {
    explicit Stream(const std::string& bytes) : m_Bytes(bytes) {}
    CQ_FILE_CAUSE fnRead(void* buffer, std::size_t count, std::size_t& done) override {
        done = m_nAt < m_Bytes.size() ? m_Bytes.copy(static_cast<char*>(buffer), count, m_nAt) : 0;
        m_nAt += done;
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnWrite(const void*, std::size_t) override { return FILE_CAUSE_ACCESS_DENIED; }
    CQ_FILE_CAUSE fnSeek(std::uint64_t position) override {
        m_nAt = position;
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnGetLength(std::uint64_t& length) override {
        length = m_Bytes.size();
        return FILE_CAUSE_NONE;
    }
    CQ_FILE_CAUSE fnClose() override { return FILE_CAUSE_NONE; }
    const std::string& m_Bytes;
    std::size_t m_nAt = 0;
};

/// Passes on all calls but the one that opens such a file.
struct Files final : CqForwardFiles {
    Files(std::shared_ptr<CqFileService> other, std::string bytes)
        : CqForwardFiles(std::move(other)), m_Bytes(std::move(bytes)) {}
    std::unique_ptr<CqFileStream> fnOpen(const char* name, const CqFileMode& mode,
                                         CQ_FILE_CAUSE& cause) override {
        if (!std::string_view(name).starts_with("memory:"))
            return CqForwardFiles::fnOpen(name, mode, cause);
        cause = mode.m_bWrite ? FILE_CAUSE_ACCESS_DENIED : FILE_CAUSE_NONE;
        return mode.m_bWrite ? nullptr : std::make_unique<Stream>(m_Bytes);
    }
    const std::string m_Bytes;
};

int main(int count, char** arguments) {
    std::ifstream file(count == 2 ? arguments[1] : "", std::ios::binary);
    CqPlatform platform = q32PosixPlatform();
    platform.m_pFiles = std::make_shared<Files>(
        platform.m_pFiles, std::string(std::istreambuf_iterator<char>(file), {}));
    return q32RunHost(platform, [] {
        CqImage image;
        if (!q32ShowPictureResult(q32ReadPicture("memory:picture", image)))
            return 1;
        std::printf("from memory: %u x %u pixels\n", image.Width, image.Height);
        return 0;
    });
}
