// What the darkroom divides itself, on real threads, so that the thread sanitizer sees it.

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Filters.h"
#include "platforms/posix/posix.h"
#include "q32Base/q32Base.h"
#include "tests/operations/PlainImage.h"
#include "tests/platforms/PosixTestTools.h"
#include "tests/support/AnySizeWork.h"

#include <memory>

namespace {

using namespace q32::test;

class DarkroomHands : public testing::Test {
protected:
    void SetUp() override {
        CqPosixOptions options;
        options.m_szTempDirectory = m_Folder.fnPath();
        options.m_szConfigDirectory = m_Folder.fnPath("config");
        options.m_nConcurrency = 4;
        CqPlatform platform = q32PosixPlatform(options);
        ASSERT_TRUE(platform.m_pWork);
        m_pWork = std::make_shared<AnySizeWork>(platform.m_pWork);
        platform.m_pWork = m_pWork;
        ASSERT_TRUE(q32Attach(platform));
    }
    void TearDown() override { q32Detach(); }

    const Folder m_Folder;
    std::shared_ptr<AnySizeWork> m_pWork;
    Random m_Random{8};
};

TEST_F(DarkroomHands, SeveralThreadsSoftenToThePixelsOfOne) {
    for (const unsigned int bits : {24u, 32u}) {
        CqImage image(400, 1400, bits, nullptr, 0); // two batches of four threads
        fnSetRandom(image, m_Random);
        CqImage expected(image);
        m_pWork->m_bAlone = true;
        darkroom::fnSoften(expected, -70, nullptr);
        m_pWork->m_bAlone = false;
        darkroom::fnSoften(image, -70, nullptr);
        EXPECT_TRUE(fnRows(image) == fnRows(expected)) << bits;
    }
}

TEST_F(DarkroomHands, SeveralThreadsCopyAPicture) {
    CqImage image(128 * 17, 128 * 16, 8, q32GreyRamp, 256); // two batches
    fnSetRandom(image, m_Random);
    CqImage copy;
    EXPECT_TRUE(darkroom::fnCopyPicture(image, copy, nullptr));
    EXPECT_TRUE(fnRows(copy) == fnRows(image));
}

} // namespace
