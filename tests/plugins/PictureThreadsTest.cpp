// Pictures read and written by real threads, at small sizes, so that the thread sanitizer sees
// every kind of file.

#include "platforms/posix/posix.h"
#include "q32Base/q32Base.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/plugins/DividedPictures.h"
#include "tests/support/AnySizeWork.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr std::uint32_t kConcurrency = 4;

/// Notes on which thread it is called.
class OwnThread final : public CqPictureProgress {
public:
    void fnOnProgress(unsigned int percent, bool& aborted) override {
        m_bOwn = m_bOwn && std::this_thread::get_id() == m_Thread;
        m_Percents.push_back(percent);
        aborted = m_Percents.size() == m_nAbortAt;
    }

    std::vector<unsigned int> m_Percents;
    std::size_t m_nAbortAt = 0; ///< counted from 1; 0 for never
    bool m_bOwn = true;

private:
    const std::thread::id m_Thread = std::this_thread::get_id();
};

class PictureThreads : public testing::Test {
protected:
    void SetUp() override {
        CqPosixOptions options;
        options.m_szTempDirectory = m_Folder.fnPath();
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        options.m_nConcurrency = kConcurrency;
        CqPlatform platform = q32PosixPlatform(options);
        ASSERT_TRUE(platform.m_pWork);
        m_pWork = std::make_shared<q32::test::AnySizeWork>(platform.m_pWork);
        platform.m_pWork = m_pWork;
        ASSERT_TRUE(q32Attach(platform));
        for (const DividedFile& file : m_Files)
            m_Folder.fnWrite(file.m_strName, std::string(file.m_Bytes.begin(), file.m_Bytes.end()));
    }
    void TearDown() override { q32Detach(); }

    Bytes fnRead(const DividedFile& file) const {
        CqImage image;
        OwnThread progress;
        EXPECT_TRUE(
            q32ReadPicture(m_Folder.fnName(file.m_strName).c_str(), image, &progress).fnIsDone())
            << file.m_strName;
        EXPECT_TRUE(progress.m_bOwn);
        return image.TileMap ? fnPixelsOf(image) : Bytes();
    }

    std::string fnWrite(CqImage& image, const DividedWrite& write, const std::string& name) const {
        CqPictureOptions options;
        options.m_eTiffCompression = write.m_eCompression;
        OwnThread progress;
        EXPECT_TRUE(q32WritePicture(m_Folder.fnName(name).c_str(), image, write.m_eFormat, options,
                                    &progress)
                        .fnIsDone());
        EXPECT_TRUE(progress.m_bOwn);
        return m_Folder.fnRead(name);
    }

    /// The pixels of all files, read by one thread.
    std::vector<Bytes> fnGetExpected() {
        m_pWork->m_bAlone = true;
        std::vector<Bytes> all;
        for (const DividedFile& file : m_Files)
            all.push_back(fnRead(file));
        m_pWork->m_bAlone = false;
        return all;
    }

    void fnExpect(const std::vector<Bytes>& expected) const {
        for (std::size_t i = 0; i < m_Files.size(); ++i)
            EXPECT_TRUE(fnRead(m_Files[i]) == expected[i]) << m_Files[i].m_strName;
    }

    const q32::test::Folder m_Folder;
    std::shared_ptr<q32::test::AnySizeWork> m_pWork;
    const std::vector<DividedFile> m_Files = fnMakeDividedFiles();
};

TEST_F(PictureThreads, SeveralThreadsReadThePixelsOfOne) {
    fnExpect(fnGetExpected());
}

TEST_F(PictureThreads, SoTheyDoInScratchFiles) {
    q32GetVMPolicy()->fnSetRamLimit(0);
    fnExpect(fnGetExpected());
}

TEST_F(PictureThreads, TwoThreadsOfAHostShareThem) {
    const std::vector<Bytes> expected = fnGetExpected();
    std::thread other([&] { fnExpect(expected); });
    fnExpect(expected);
    other.join();
}

TEST_F(PictureThreads, APieceMayReadPictures) {
    class Reads final : public CqWorkPieces {
    public:
        explicit Reads(std::function<void()> read) : m_fnRead(std::move(read)) {}
        void fnRunPiece(std::uint32_t, std::uint32_t) noexcept override { m_fnRead(); }

    private:
        std::function<void()> m_fnRead;
    };
    const std::vector<Bytes> expected = fnGetExpected();
    Reads pieces([&] { fnExpect(expected); });
    m_pWork->fnRun(3, pieces);
}

TEST_F(PictureThreads, SeveralThreadsWriteTheBytesOfOne) {
    for (const DividedWrite& write : fnGetDividedWrites()) {
        const auto image = fnMakeNoise(210, 130, write.m_nBits, 5);
        m_pWork->m_bAlone = true;
        const std::string expected = fnWrite(*image, write, "alone");
        m_pWork->m_bAlone = false;
        EXPECT_TRUE(fnWrite(*image, write, "divided") == expected)
            << write.m_eFormat << ", " << write.m_nBits;
    }
}

TEST_F(PictureThreads, AnAbortEndsARead) {
    for (const DividedFile& file : m_Files) {
        CqImage image;
        OwnThread progress;
        progress.m_nAbortAt = 3;
        const CqPictureResult result =
            q32ReadPicture(m_Folder.fnName(file.m_strName).c_str(), image, &progress);
        // Some kinds have fewer reports.
        EXPECT_EQ(result.m_bAborted, progress.m_Percents.size() == 3) << file.m_strName;
        EXPECT_EQ(image.TileMap == nullptr, result.m_bAborted);
    }
}

} // namespace
