#include "tests/display/DisplayWorld.h"
#include "tests/support/FailingAllocator.h"

#include <string>

namespace {

/// A display property that has read a settings file with these lines in its section.
class CqDisplaySettings : public testing::Test {
protected:
    bool fnLoad(const std::string& lines) {
        m_World.fnWorld().fnSetSettings("[DispProp]\r\n" + lines);
        return m_Display.fnSerialize(true);
    }

    CqDisplayWorld m_World{24};
    CqDisplayProperty m_Display;
};

} // namespace

TEST_F(CqDisplaySettings, KeepsValuesThatAreNotInTheFile) {
    m_Display.fnEnableHiColorDither(false);
    m_Display.fnSetGammaValue(200);
    EXPECT_TRUE(fnLoad(""));
    EXPECT_FALSE(m_Display.fnIsHiColorDitherEnabled());
    EXPECT_TRUE(m_Display.fnIsGammaEnabled());
    EXPECT_EQ(m_Display.fnGetGammaValue(), 200u);
}

TEST_F(CqDisplaySettings, AnyNumberButZeroSwitchesOn) {
    EXPECT_TRUE(fnLoad("DitherHC=0\r\nGammaFlag=0\r\n"));
    EXPECT_FALSE(m_Display.fnIsHiColorDitherEnabled());
    EXPECT_FALSE(m_Display.fnIsGammaEnabled());
    EXPECT_TRUE(fnLoad("DitherHC=2\r\nGammaFlag=-1\r\n"));
    EXPECT_TRUE(m_Display.fnIsHiColorDitherEnabled());
    EXPECT_TRUE(m_Display.fnIsGammaEnabled());
}

TEST_F(CqDisplaySettings, ClampsTheGammaValueTo1To799) {
    EXPECT_TRUE(fnLoad("GammaVal=0\r\n"));
    EXPECT_EQ(m_Display.fnGetGammaValue(), 1u);
    EXPECT_TRUE(fnLoad("GammaVal=900\r\n"));
    EXPECT_EQ(m_Display.fnGetGammaValue(), 799u);
    EXPECT_TRUE(fnLoad("GammaVal=-5\r\n"));
    EXPECT_EQ(m_Display.fnGetGammaValue(), 1u);
    EXPECT_TRUE(fnLoad("GammaVal=220\r\n"));
    EXPECT_EQ(m_Display.fnGetGammaValue(), 220u);
}

TEST_F(CqDisplaySettings, AStoredValueHasNoEffectWhenTheStoredFlagIsOff) {
    EXPECT_TRUE(fnLoad("GammaVal=220\r\nGammaFlag=0\r\n"));
    EXPECT_FALSE(m_Display.fnIsGammaEnabled());
    EXPECT_EQ(m_Display.fnGetGammaValue(), 180u);
    EXPECT_TRUE(fnLoad("GammaVal=220\r\nGammaFlag=1\r\n"));
    EXPECT_EQ(m_Display.fnGetGammaValue(), 220u);
}

TEST_F(CqDisplaySettings, ReadBackAsTheyWereWritten) {
    m_Display.fnEnableHiColorDither(false);
    m_Display.fnSetGammaValue(333);
    m_World.fnWorld().fnSetSettings("[Other]\r\nKey=1\r\n");
    EXPECT_TRUE(m_Display.fnSerialize(false));
    const std::string text = m_World.fnWorld().fnGetSettings().value_or("");
    EXPECT_NE(text.find("[Other]\r\nKey=1\r\n"), std::string::npos);
    EXPECT_NE(text.find("DitherHC=0"), std::string::npos);
    EXPECT_NE(text.find("GammaFlag=1"), std::string::npos);
    EXPECT_NE(text.find("GammaVal=333"), std::string::npos);
    CqDisplayProperty other;
    EXPECT_TRUE(other.fnSerialize(true));
    EXPECT_FALSE(other.fnIsHiColorDitherEnabled());
    EXPECT_EQ(other.fnGetGammaValue(), 333u);
}

TEST_F(CqDisplaySettings, GammaThatIsOffIsWrittenAsOff) {
    ASSERT_TRUE(m_Display.fnEnableGamma(false));
    EXPECT_TRUE(m_Display.fnSerialize(false));
    EXPECT_NE(m_World.fnWorld().fnGetSettings().value_or("").find("GammaFlag=0"),
              std::string::npos);
    unsigned char pixels[] = {10, 20, 30};
    m_Display.fnGammaCorrect(pixels, 1, 24);
    EXPECT_EQ(pixels[1], 20) << "nothing is corrected then";
}

TEST_F(CqDisplaySettings, StopsReadingWhenGammaCannotBeEnabled) {
    ASSERT_TRUE(m_Display.fnEnableGamma(false));
    m_World.fnWorld().fnSetSettings("[DispProp]\r\nDitherHC=0\r\nGammaFlag=1\r\nGammaVal=220\r\n");
    std::size_t refused = 0;
    fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const std::size_t boxes = m_World.fnWorld().m_pMessages->fnGetBoxes().size();
        const bool read = m_Display.fnSerialize(true);
        failure.fnEnd();
        if (m_World.fnWorld().m_pMessages->fnGetBoxes().size() > boxes) { // the curve's allocation
            ++refused;
            EXPECT_FALSE(read);
            EXPECT_FALSE(m_Display.fnIsGammaEnabled());
            EXPECT_EQ(m_Display.fnGetGammaValue(), 180u);
        }
        m_Display.fnSetGammaValue(180);
        m_Display.fnEnableGamma(false);
    });
    EXPECT_EQ(refused, 1u);
}

TEST_F(CqDisplaySettings, AWriteThatFailsEndsTheWriting) {
    m_Display.fnSetGammaValue(222);
    CqHeadlessFiles& files = *m_World.fnWorld().m_pFiles;
    for (std::uint64_t nth = 1; nth <= 3; ++nth) {
        m_World.fnWorld().fnSetSettings("");
        files.m_UpdateText.fnFail(nth);
        const std::uint64_t before = files.m_UpdateText.fnGetCount();
        EXPECT_FALSE(m_Display.fnSerialize(false));
        EXPECT_EQ(files.m_UpdateText.fnGetCount() - before, nth);
        const std::string text = m_World.fnWorld().fnGetSettings().value_or("");
        EXPECT_EQ(text.find("DitherHC=1") != std::string::npos, nth > 1);
        EXPECT_EQ(text.find("GammaFlag=1") != std::string::npos, nth > 2);
        EXPECT_EQ(text.find("GammaVal"), std::string::npos);
    }
    EXPECT_TRUE(m_Display.fnSerialize(false));
}

TEST_F(CqDisplaySettings, AnUnreadableFileCountsAsAFileWithoutKeys) {
    m_World.fnWorld().fnSetSettings("[DispProp]\r\nDitherHC=0\r\n");
    m_World.fnWorld().m_pFiles->m_ReadText.fnFail(1, CqHeadlessCalls::kForever);
    EXPECT_TRUE(m_Display.fnSerialize(true));
    EXPECT_TRUE(m_Display.fnIsHiColorDitherEnabled());
}

TEST_F(CqDisplaySettings, WithoutMemoryForTheFilesNameTheResultIsFalse) {
    for (const bool load : {true, false}) {
        const CqAllocationFailure failure(1, true);
        EXPECT_FALSE(m_Display.fnSerialize(load));
    }
}
