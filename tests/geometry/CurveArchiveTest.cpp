#include "q32Base/framework/CArchive.h"
#include "q32Base/geometry/CqCubicBezier2D.h"
#include "q32Base/image/CqColor.h"
#include "tests/geometry/GeometryTestTools.h"
#include "tests/support/SystemPlatform.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

CqCubicBezier2D fnSample() {
    return {CqPoint2D(1.5, -2.25), CqPoint2D(1e300, -0.0), CqPoint2D(kInf, 5e-324),
            CqPoint2D(0.1, 1.0 / 3.0), 4.0};
}

void fnSave(CFile& file, CqCubicBezier2D curve) {
    CArchive archive(&file, CArchive::store);
    curve.fnSerialize(archive);
    archive.Close();
}

void fnLoad(CFile& file, CqCubicBezier2D& curve) {
    CArchive archive(&file, CArchive::load);
    curve.fnSerialize(archive);
    archive.Close();
}

TEST(CurveArchive, IsEightDoublesAndNothingElse) {
    CMemFile file;
    fnSave(file, fnSample());
    ASSERT_EQ(file.GetLength(), 64u);
    const double expected[8] = {1.5, -2.25, 1e300, -0.0, kInf, 5e-324, 0.1, 1.0 / 3.0};
    for (int i = 0; i < 8; ++i) {
        std::uint64_t bits = 0;
        for (int b = 7; b >= 0; --b) // lowest byte first
            bits = bits << 8 | file.GetData()[8 * i + b];
        EXPECT_EQ(bits, std::bit_cast<std::uint64_t>(expected[i])) << i;
    }
}

TEST(CurveArchive, RestoresThePointsWithANewBoxAndTheOldThickness) {
    CMemFile file;
    fnSave(file, fnSample());
    file.Seek(0);
    CqCubicBezier2D curve(CqPoint2D(7, 7), CqPoint2D(8, 8), CqPoint2D(9, 9), CqPoint2D(9, 9), 11.0);
    fnLoad(file, curve);
    for (int i = 0; i < 4; ++i)
        EXPECT_BITS(curve.m_Points[i], fnSample().m_Points[i]);
    EXPECT_BITS(curve.fnGetThickness(), 11.0);
    EXPECT_BITS(curve.fnGetBoundRect().m_Left, 0.1);
    EXPECT_BITS(curve.fnGetBoundRect().m_Top, -2.25);
    EXPECT_BITS(curve.fnGetBoundRect().m_Right, kInf);
    EXPECT_BITS(curve.fnGetBoundRect().m_Bottom, 1.0 / 3.0);
}

TEST(CurveArchive, LeavesTheCurveWhenItIsTruncated) {
    CMemFile whole;
    fnSave(whole, fnSample());
    for (std::size_t length = 0; length < 64; ++length) {
        CMemFile file(whole.GetData(), length);
        const CqCubicBezier2D before(CqPoint2D(7, 7), CqPoint2D(8, 8), CqPoint2D(9, 9),
                                     CqPoint2D(9, 9), 11.0);
        CqCubicBezier2D curve = before;
        bool ended = false;
        try {
            fnLoad(file, curve);
        } catch (CArchiveException* failure) {
            ended = failure->m_cause == CArchiveException::endOfFile;
            failure->Delete();
        }
        EXPECT_TRUE(ended) << length;
        EXPECT_EQ(std::memcmp(&curve, &before, sizeof(curve)), 0) << length;
    }
}

TEST(CurveArchive, RoundTripsThroughARealFile) {
    q32::fnSetPlatform(q32::test::fnSystemPlatform());
    const std::string name = ::testing::TempDir() + "q32BaseCurve.bin";
    {
        CFile file(name.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive archive(&file, CArchive::store);
        CqColor color(1, 2, 3, 4);
        color.fnSerialize(archive);
        CqCubicBezier2D curve = fnSample();
        curve.fnSerialize(archive);
        archive.Close();
        EXPECT_EQ(file.GetLength(), 68u);
        file.Close();
    }
    {
        CFile file(name.c_str(), CFile::modeRead);
        CArchive archive(&file, CArchive::load);
        CqColor color;
        CqCubicBezier2D curve;
        color.fnSerialize(archive);
        curve.fnSerialize(archive);
        EXPECT_TRUE(color == CqColor(1, 2, 3, 4));
        for (int i = 0; i < 4; ++i)
            EXPECT_BITS(curve.m_Points[i], fnSample().m_Points[i]);
    }
    std::remove(name.c_str());
    q32::fnClearPlatform();
}

TEST(CurveArchive, LeavesCurveAndColourWhenARealFileIsTruncated) {
    q32::fnSetPlatform(q32::test::fnSystemPlatform());
    const std::string name = ::testing::TempDir() + "q32BaseShortCurve.bin";
    CMemFile whole;
    {
        CArchive archive(&whole, CArchive::store);
        CqColor color(1, 2, 3, 4);
        CqCubicBezier2D curve = fnSample();
        color.fnSerialize(archive);
        curve.fnSerialize(archive);
        archive.Close();
    }
    ASSERT_EQ(whole.GetLength(), 68u);
    for (unsigned int length = 0; length <= 68; ++length) {
        {
            CFile file(name.c_str(), CFile::modeCreate | CFile::modeWrite);
            file.Write(whole.GetData(), length);
            file.Close();
        }
        CFile file(name.c_str(), CFile::modeRead);
        CArchive archive(&file, CArchive::load);
        CqColor color;
        CqCubicBezier2D curve;
        bool ended = false;
        try {
            color.fnSerialize(archive);
            curve.fnSerialize(archive);
        } catch (CArchiveException* failure) {
            ended = failure->m_cause == CArchiveException::endOfFile;
            failure->Delete();
        }
        EXPECT_EQ(ended, length < 68) << length;
        EXPECT_EQ(color == CqColor(1, 2, 3, 4), length >= 4) << length;
        const CqCubicBezier2D expected = length < 68 ? CqCubicBezier2D() : fnSample();
        for (int i = 0; i < 4; ++i)
            EXPECT_BITS(curve.m_Points[i], expected.m_Points[i]) << length;
    }
    std::remove(name.c_str());
    q32::fnClearPlatform();
}

TEST(CurveArchive, StoresAColourInFourBytesAlphaFirst) {
    CMemFile file;
    CqColor color(1, 2, 3, 4);
    {
        CArchive archive(&file, CArchive::store);
        color.fnSerialize(archive);
        archive.Close();
    }
    ASSERT_EQ(file.GetLength(), 4u);
    EXPECT_EQ(std::memcmp(file.GetData(), "\x04\x01\x02\x03", 4), 0);
    for (std::size_t length = 0; length <= 4; ++length) {
        CMemFile part(file.GetData(), length);
        CArchive archive(&part, CArchive::load);
        CqColor loaded;
        bool ended = false;
        try {
            loaded.fnSerialize(archive);
        } catch (CArchiveException* failure) {
            ended = failure->m_cause == CArchiveException::endOfFile;
            failure->Delete();
        }
        EXPECT_EQ(ended, length < 4);
        EXPECT_EQ(loaded == color, length == 4);
    }
}

} // namespace
