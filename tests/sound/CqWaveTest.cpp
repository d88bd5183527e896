#include "q32Base/sound/CqWave.h"

#include "tests/sound/SoundTestTools.h"
#include "tests/support/FailingAllocator.h"

#include <type_traits>

using namespace q32::test;

namespace {

using CqWaveTest = WaveTest;

/// Exposes the protected members to the tests.
struct OpenWave : CqWave {
    using CqWave::CqWave;
    using CqWave::fnAllocBuf;
    using CqWave::fnFreeBuf;
    using CqWave::fnSetBuf;
};

TEST_F(CqWaveTest, IsWithoutABlockAtFirst) {
    const CqWave wave;
    EXPECT_EQ(wave.fnGetBuffer(), nullptr);
    EXPECT_EQ(wave.fnGetBufferSize(), 0u);
    EXPECT_EQ(wave.fnGetFrameCount(), 0u);
    EXPECT_EQ(wave.fnGetState(), WAVE_STOPPED);
    const WAVEFORMATEX format = wave.fnGetFormat();
    const WAVEFORMATEX none = {};
    EXPECT_EQ(std::memcmp(&format, &none, sizeof format), 0);
}

TEST_F(CqWaveTest, ReportsItsClass) {
    const CqWave wave;
    const CRuntimeClass* known = wave.GetRuntimeClass();
    EXPECT_STREQ(known->m_lpszClassName, "CqWave");
    EXPECT_EQ(known->m_wSchema, 0xFFFFu);
    EXPECT_EQ(known->m_pBaseClass, &CObject::classCObject);
    EXPECT_EQ(known->m_pfnCreateObject, nullptr);
    EXPECT_TRUE(wave.IsKindOf(&CqWave::classCqWave));
    EXPECT_TRUE(std::has_virtual_destructor_v<CqWave>);
}

TEST_F(CqWaveTest, AnAllocationFillsTheFormat) {
    const CqWave wave(2, 16, 44100, 10, true);
    const WAVEFORMATEX format = wave.fnGetFormat();
    EXPECT_EQ(format.wFormatTag, 1);
    EXPECT_EQ(format.nChannels, 2);
    EXPECT_EQ(format.nSamplesPerSec, 44100u);
    EXPECT_EQ(format.nAvgBytesPerSec, 176400u);
    EXPECT_EQ(format.nBlockAlign, 4);
    EXPECT_EQ(format.wBitsPerSample, 16);
    EXPECT_EQ(format.cbSize, 0);
    EXPECT_EQ(wave.fnGetBufferSize(), 40u);
    EXPECT_EQ(wave.fnGetFrameCount(), 10u);
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 40u);
}

TEST_F(CqWaveTest, AnAllocationIsSilencedOnlyOnRequest) {
    EXPECT_EQ(fnBytes(CqWave(1, 8, 8000, 3, true)), Bytes(3, 0x80));
    EXPECT_EQ(fnBytes(CqWave(1, 8, 8000, 3, false)), Bytes(3, 0)) << "as the memory came";
}

TEST_F(CqWaveTest, TheBytesOfAFrameAreKeptIn16Bits) {
    const CqWave wave(40000, 16, 10, 1, true);
    EXPECT_EQ(wave.fnGetFormat().nBlockAlign, 80000 - 65536);
    EXPECT_EQ(wave.fnGetFormat().nAvgBytesPerSec, 144640u);
    EXPECT_EQ(wave.fnGetBufferSize(), 14464u);
}

TEST_F(CqWaveTest, BitsOfAFrameThatFillNoByteAreDropped) {
    EXPECT_EQ(CqWave(3, 12, 10, 1, true).fnGetFormat().nBlockAlign, 4);
}

TEST_F(CqWaveTest, SizesWrapIn32Bits) {
    EXPECT_EQ(CqWave(2, 16, 44100, 0x40000003ul, true).fnGetBufferSize(), 12u);
    EXPECT_EQ(
        CqWave(1, 8, 8000, static_cast<unsigned long>(0x100000005ull), true).fnGetBufferSize(), 5u);
    EXPECT_EQ(CqWave(1, 16, 0x80000001u, 1, true).fnGetFormat().nAvgBytesPerSec, 2u);
}

TEST_F(CqWaveTest, ASoundOfZeroBytesCannotBeAllocated) {
    EXPECT_TRUE(fnRaisesMemoryException([] { CqWave(1, 8, 8000, 0, true); }));
    EXPECT_TRUE(fnRaisesMemoryException([] { CqWave(0, 8, 8000, 10, true); }));
}

TEST_F(CqWaveTest, AFormatOfZeroBytesPerFrameHasNoFrames) {
    OpenWave wave;
    CqFileHandle file = 0;
    CqMappingHandle mapping = 1;
    CString path = "old";
    unsigned char* block = wave.fnAllocBuf(8, file, mapping, path);
    EXPECT_EQ(file, kNoFile);
    EXPECT_EQ(mapping, kNoMapping);
    EXPECT_TRUE(path.IsEmpty());
    WAVEFORMATEX format = {};
    format.cbSize = 7;
    wave.fnSetBuf(block, format, 8, file, mapping, path);
    EXPECT_EQ(wave.fnGetFrameCount(), 0u);
    EXPECT_EQ(wave.fnGetBufferSize(), 8u);
    EXPECT_EQ(wave.fnGetFormat().cbSize, 7) << "all of the format is copied";
}

TEST_F(CqWaveTest, ASoundWhoseBlockWasReleasedIsEmptyAndKeepsItsFormat) {
    OpenWave wave(1, 16, 8000, 4, true);
    wave.fnFreeBuf();
    wave.fnFreeBuf();
    EXPECT_EQ(wave.fnGetBuffer(), nullptr);
    EXPECT_EQ(wave.fnGetBufferSize(), 0u);
    EXPECT_EQ(wave.fnGetFrameCount(), 0u);
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 0u);
    CqImage image(4, 4, 24, nullptr, 0);
    wave.fnRasterize(image, 0, 4, false, false);
    for (int x = 0; x < 4; ++x)
        for (int y = 0; y < 4; ++y)
            EXPECT_EQ(image.fnGetPixelColor(x, y), CqColor(0, 0, 0, 255));
    wave.fnMute();
    EXPECT_TRUE(fnRaisesMemoryException([&] { static_cast<void>(CqWave(wave)); }));
    fnFill(wave, fnRamp(2));
    EXPECT_EQ(fnBytes(wave), fnRamp(2));
    EXPECT_EQ(wave.fnGetFrameCount(), 1u);
}

TEST_F(CqWaveTest, OnlyCompleteFramesAreCounted) {
    OpenWave wave(1, 8, 8000, 1, true);
    CqFileHandle file = 0;
    CqMappingHandle mapping = 0;
    CString path;
    unsigned char* block = wave.fnAllocBuf(11, file, mapping, path);
    WAVEFORMATEX format = wave.fnGetFormat();
    format.nBlockAlign = 4;
    wave.fnSetBuf(block, format, 11, file, mapping, path);
    EXPECT_EQ(wave.fnGetFrameCount(), 2u);
}

TEST_F(CqWaveTest, AFillOfEqualLengthReplacesAllFrames) {
    CqWave wave(2, 8, 8000, 4, true);
    const unsigned char* block = wave.fnGetBuffer();
    fnFill(wave, fnRamp(8));
    EXPECT_EQ(fnBytes(wave), fnRamp(8));
    EXPECT_EQ(wave.fnGetBuffer(), block);
}

TEST_F(CqWaveTest, AShorterFillSilencesTheRestAndKeepsTheLength) {
    for (const unsigned int bits : {8u, 16u}) {
        CqWave wave(1, bits, 8000, 4, true);
        const std::size_t frame = bits / 8;
        fnFill(wave, fnRamp(4 * frame));
        fnFill(wave, fnRamp(frame, 99));
        Bytes expected = fnRamp(frame, 99);
        expected.resize(4 * frame, bits == 8 ? 0x80 : 0);
        EXPECT_EQ(fnBytes(wave), expected);
        EXPECT_EQ(wave.fnGetFrameCount(), 4u);
    }
}

TEST_F(CqWaveTest, ALongerFillAllocatesALongerBlockOfTheSameFormat) {
    CqWave wave(2, 16, 22050, 2, true);
    fnFill(wave, fnRamp(20));
    EXPECT_EQ(fnBytes(wave), fnRamp(20));
    EXPECT_EQ(wave.fnGetFrameCount(), 5u);
    EXPECT_EQ(wave.fnGetFormat().nSamplesPerSec, 22050u);
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 20u) << "the old block is gone";
}

TEST_F(CqWaveTest, AFillOfZeroFramesSilencesTheSound) {
    CqWave wave(1, 8, 8000, 3, true);
    fnFill(wave, fnRamp(3));
    wave.fnFillBuffer(nullptr, 0);
    EXPECT_EQ(fnBytes(wave), Bytes(3, 0x80));
}

TEST_F(CqWaveTest, AnEmptySoundTakesNoFrames) {
    CqWave wave;
    unsigned char byte = 1;
    wave.fnFillBuffer(&byte, 1);
    wave.fnMute();
    EXPECT_EQ(wave.fnGetBuffer(), nullptr);
}

TEST_F(CqWaveTest, SilenceDependsOnTheDepth) {
    for (const auto& [bits, silence] : {std::pair{8u, 0x80}, std::pair{16u, 0}}) {
        CqWave wave(1, bits, 8000, 6, true);
        fnFill(wave, fnRamp(6 * bits / 8));
        wave.fnMute();
        EXPECT_EQ(fnBytes(wave), Bytes(6 * bits / 8, static_cast<unsigned char>(silence)));
    }
}

TEST_F(CqWaveTest, ASoundOf24BitsIsNotSilenced) {
    CqWave wave(1, 24, 8000, 3, true);
    fnFill(wave, fnRamp(9));
    wave.fnMute();
    EXPECT_EQ(fnBytes(wave), fnRamp(9));
    fnFill(wave, fnRamp(3, 50));
    Bytes expected = fnRamp(9);
    const Bytes head = fnRamp(3, 50);
    std::copy(head.begin(), head.end(), expected.begin());
    EXPECT_EQ(fnBytes(wave), expected);
}

TEST_F(CqWaveTest, ACopyIsIndependent) {
    CqWave first(2, 8, 11025, 5, true);
    fnFill(first, fnRamp(10));
    CqWave second(first);
    CqWave third(1, 16, 8000, 100, true);
    third = first;
    fnFill(first, Bytes(10, 3));
    for (const CqWave* copy : {&second, &third}) {
        EXPECT_EQ(fnBytes(*copy), fnRamp(10));
        EXPECT_EQ(copy->fnGetFormat().nSamplesPerSec, 11025u);
        EXPECT_EQ(copy->fnGetFrameCount(), 5u);
    }
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 30u);
}

TEST_F(CqWaveTest, ASoundAssignedToItselfLosesItsSamples) {
    CqWave wave(1, 8, 8000, 4, true);
    fnFill(wave, fnRamp(4));
    CqWave& same = wave;
    wave = same;
    EXPECT_EQ(fnBytes(wave), Bytes(4, 0)) << "the bytes of a fresh block";
    EXPECT_EQ(wave.fnGetFormat().nSamplesPerSec, 8000u);
}

TEST_F(CqWaveTest, AnEmptySoundCannotBeCopied) {
    const CqWave empty;
    EXPECT_TRUE(fnRaisesMemoryException([&] { static_cast<void>(CqWave(empty)); }));
    CqWave wave(1, 8, 8000, 4, true);
    EXPECT_TRUE(fnRaisesMemoryException([&] { wave = empty; }));
    EXPECT_EQ(fnBytes(wave), Bytes(4, 0x80));
}

TEST_F(CqWaveTest, TwoSoundsExchangeFormatAndBlock) {
    CqWave first(2, 8, 11025, 5, true);
    CqWave second;
    fnFill(first, fnRamp(10));
    const unsigned char* block = first.fnGetBuffer();
    first.fnSwapBuf(second);
    EXPECT_EQ(first.fnGetBuffer(), nullptr);
    EXPECT_EQ(first.fnGetFrameCount(), 0u);
    EXPECT_EQ(second.fnGetBuffer(), block);
    EXPECT_EQ(second.fnGetFrameCount(), 5u);
    EXPECT_EQ(second.fnGetFormat().nChannels, 2);
    q32GetVMPolicy()->fnSetRamLimit(0);
    CqWave third(1, 16, 8000, 100, true); // on a disk
    third.fnSwapBuf(second);
    EXPECT_EQ(fnBytes(third), fnRamp(10));
    EXPECT_EQ(fnBytes(second), Bytes(200, 0));
}

TEST_F(CqWaveTest, ALongSoundIsOnAScratchDisk) {
    q32GetVMPolicy()->fnSetRamLimit(1000);
    CqWave little(1, 8, 8000, 600, true);
    EXPECT_EQ(m_World->m_pScratch->fnGetViews(), 0u);
    {
        CqWave wave(1, 8, 8000, 600, true);
        EXPECT_EQ(m_World->m_pScratch->fnGetViews(), 1u);
        EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 1u);
        EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 600u);
        fnFill(wave, fnRamp(600));
        CqWave copy(wave);
        EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 2u);
        EXPECT_EQ(fnBytes(copy), fnRamp(600));
        fnFill(wave, fnRamp(700));
        EXPECT_EQ(m_World->m_pDisks->fnGetFiles().size(), 2u) << "the shorter one is deleted";
    }
    EXPECT_TRUE(m_World->m_pDisks->fnGetFiles().empty());
}

/// Each operation that allocates a block, with none available: the sound stays.
TEST_F(CqWaveTest, OperationsWithoutMemoryLeaveTheOldSound) {
    const WAVEFORMATEX format = {1, 1, 8000, 8000, 1, 8, 0};
    fnAddResource(7, fnMakeResource(format, 5, fnRamp(5)));
    CqWave other(2, 16, 44100, 100, true);
    CqWave wave(1, 8, 11025, 4, true);
    fnFill(wave, fnRamp(4));
    const unsigned char* block = wave.fnGetBuffer();
    q32GetVMPolicy()->fnSetRamLimit(0);
    q32GetVMPolicy()->fnEnableDisk(0, false);
    Bytes more(5);
    EXPECT_TRUE(fnRaisesMemoryException([&] { wave.fnLoad(7); }));
    EXPECT_TRUE(fnRaisesMemoryException([&] { wave.fnAlloc(1, 8, 8000, 2, true); }));
    EXPECT_TRUE(fnRaisesMemoryException([&] { wave.fnFillBuffer(more.data(), 5); }));
    EXPECT_TRUE(fnRaisesMemoryException([&] { wave = other; }));
    EXPECT_TRUE(fnRaisesMemoryException([&] { static_cast<void>(CqWave(wave)); }));
    EXPECT_TRUE(fnRaisesMemoryException([] { const CqWave loaded(7u); }));
    EXPECT_EQ(wave.fnGetBuffer(), block);
    EXPECT_EQ(fnBytes(wave), fnRamp(4));
    EXPECT_EQ(wave.fnGetFormat().nSamplesPerSec, 11025u);
}

/// The same with each single allocation and each call of the memory and scratch services failing
/// once.
TEST_F(CqWaveTest, EachFailingStepOfAnAllocationLeavesTheOldSound) {
    const WAVEFORMATEX format = {1, 1, 8000, 8000, 1, 8, 0};
    fnAddResource(7, fnMakeResource(format, 5, fnRamp(5)));
    CqWave wave(1, 8, 11025, 4, true);
    fnFill(wave, fnRamp(4));
    q32GetVMPolicy()->fnSetRamLimit(0);
    const std::size_t runs = fnFailEachAllocation([&](CqAllocationFailure& failure) {
        const bool raised = fnRaisesMemoryException([&] { wave.fnLoad(7); });
        failure.fnEnd();
        EXPECT_EQ(raised, failure.fnHappened());
        EXPECT_EQ(fnBytes(wave), raised ? fnRamp(4) : fnRamp(5));
    });
    EXPECT_GT(runs, 0u);
    CqHeadlessScratch& scratch = *m_World->m_pScratch;
    for (CqHeadlessCalls* call :
         {&scratch.m_CreateName, &scratch.m_Open, &scratch.m_SetSize, &scratch.m_Reopen,
          &scratch.m_CreateMapping, &scratch.m_MapView}) {
        call->fnFail();
        EXPECT_TRUE(fnRaisesMemoryException([&] { wave.fnAlloc(1, 8, 8000, 9, true); }));
        EXPECT_EQ(fnBytes(wave), fnRamp(5));
    }
}

} // namespace
