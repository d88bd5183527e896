/// @file
/// Operations on images in scratch files and in RAM, with each call of the system failing in turn.

#include "q32Base/framework/Memory.h"
#include "tests/faults/FaultTest.h"

#include <array>
#include <optional>
#include <span>

namespace q32::test {
namespace {

/// What the operations work on.
struct Pictures {
    explicit Pictures(unsigned int bits)
        : m_Image(150, 110, bits, nullptr, 0), m_Other(90, 70, bits, nullptr, 0), m_Mask(90, 70) {
        fnPaint(m_Image, 1);
        fnPaint(m_Other, 2);
        fnPaint(m_Mask, 3);
    }

    CqImage m_Image;
    CqImage m_Other; ///< not to change, as the mask
    CqMask m_Mask;
};

struct ImageOperation {
    const char* m_szName;
    unsigned int m_nBits;
    void (*m_fnWork)(Pictures& with);
};

const CqColor kColor(10, 200, 30, 255);

void fnCrop(CqImage& image) {
    CqImage part(60, 50, image.BitCount, nullptr, 0);
    const CRect rect(20, 10, 80, 60);
    part.fnCopyBlock(image, &rect, 0, 0);
    image.fnSwapBuf(part);
}

void fnExchangeDib(CqImage& image) {
    struct Free {
        void operator()(BITMAPINFOHEADER* header) const { ::operator delete(header); }
    };
    const std::unique_ptr<BITMAPINFOHEADER, Free> header(static_cast<BITMAPINFOHEADER*>(image));
    const std::size_t rowBytes = (std::size_t{3} * image.Width + 3) / 4 * 4;
    const std::size_t bytes = header->biSize + rowBytes * image.Height;
    image = header.get();
    image.fnTake({reinterpret_cast<const std::byte*>(header.get()), bytes});
}

void fnSlide(CqImage& image) {
    CqConvMask window(image, 5, -1);
    for (std::uint32_t y = 0; y < image.Height; ++y)
        window.fnGotoNextLine();
}

/// A run-length coded bitmap of 4 x 2 pixels and two colours.
constexpr unsigned char kRunLengths[] = {40, 0, 0, 0, 4, 0, 0, 0, 2, 0, 0, 0, 1, 0, 8, 0, 1, 0, 0,
                                         0,  0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0,
                                         0,  0, 1, 2, 3, 0, 4, 5, 6, 0, 4, 1, 0, 0, 4, 0, 0, 1};

void fnEditMask(Pictures& with, bool (*edit)(CqMask& mask, const CRect& area)) {
    CqMask mask(with.m_Mask);
    edit(mask, CRect(0, 0, 120, 100));
    with.m_Image = mask;
}

/// As large as what is converted at once at 4 bits, and more.
void fnCopyPixels(CqImage& from, CqImage& to) {
    unsigned char row[4 * 90];
    const CqPixelReader reader(from, PIXEL_BGRA32);
    const CqPixelWriter writer(to, PIXEL_BGRA32);
    const std::uint32_t columns[] = {1, 5, 80};
    for (std::uint32_t y = 0; y < from.Height; ++y)
        if (!reader.fnReadRow(0, y, from.Width, row) || !writer.fnWriteRow(0, y, from.Width, row) ||
            !reader.fnPick(y, columns, 3, row))
            AfxThrowMemoryException();
}

void fnDrawCurves(CqImage& image) {
    CqCubicBezier2D curve(CqPoint2D(0, 0), CqPoint2D(300, 90), CqPoint2D(-200, 90),
                          CqPoint2D(149, 0), 1.0);
    CqPolyline2D polyline;
    curve.fnTessellate(polyline, 0.1); // before anything is drawn
    double t[3];
    curve.fnIntersectLine(CqLine2D(CqPoint2D(70, -9), CqPoint2D(70, 99)), t[0], t[1], t[2]);
    curve.fnRasterize(image, kColor);
}

void fnDrawSound(CqImage& image) {
    CqWave wave(1, 8, 8000, 150, false);
    for (std::uint32_t i = 0; i < wave.fnGetBufferSize(); ++i)
        wave.fnGetBuffer()[i] = static_cast<unsigned char>(i * 7);
    wave.fnRasterize(image, 0, 150, false, false);
}

const ImageOperation kOperations[] = {
    {"allocate", 24, [](Pictures& with) { with.m_Image.fnAlloc(77, 66, 8, nullptr, 0); }},
    {"copy an image", 24, [](Pictures& with) { with.m_Image = with.m_Other; }},
    {"crop", 24, [](Pictures& with) { fnCrop(with.m_Image); }},
    {"exchange a bitmap", 24, [](Pictures& with) { fnExchangeDib(with.m_Image); }},
    {"resample by the filter", 24,
     [](Pictures& with) { with.m_Image.fnResample(100, 90, true, nullptr); }},
    {"resample by factors", 32, [](Pictures& with) { with.m_Image.fnResample(1.5, 0.7, nullptr); }},
    {"resample to the nearest", 8,
     [](Pictures& with) { with.m_Image.fnResample(100, 90, false, nullptr); }},
    {"rotate by 90", 24,
     [](Pictures& with) { with.m_Image.fnRotate(90, kColor, nullptr, false, nullptr); }},
    {"rotate by -90", 8,
     [](Pictures& with) { with.m_Image.fnRotate(-90, kColor, nullptr, false, nullptr); }},
    {"rotate by 180", 24,
     [](Pictures& with) { with.m_Image.fnRotate(180, kColor, nullptr, false, nullptr); }},
    {"rotate by 17", 24,
     [](Pictures& with) { with.m_Image.fnRotate(17, kColor, nullptr, false, nullptr); }},
    {"rotate by 17 with blending", 32,
     [](Pictures& with) { with.m_Image.fnRotate(17, kColor, nullptr, true, nullptr); }},
    {"convert to 32 bits", 8, [](Pictures& with) { with.m_Image.fnConvert(32, true, nullptr); }},
    {"convert to 24 bits", 32, [](Pictures& with) { with.m_Image.fnConvert(24, true, nullptr); }},
    {"convert to 4 bits", 24, [](Pictures& with) { with.m_Image.fnConvert(4, true, nullptr); }},
    {"fill", 24, [](Pictures& with) { with.m_Image.fnFill(kColor, nullptr, false); }},
    {"fill a rectangle", 16,
     [](Pictures& with) {
         const CRect rect(9, 8, 140, 100);
         with.m_Image.fnFill(kColor, &rect, false);
     }},
    {"fill with a pattern", 24,
     [](Pictures& with) { with.m_Image.fnFill(with.m_Other, nullptr, nullptr); }},
    {"copy a block", 8,
     [](Pictures& with) { with.m_Image.fnCopyBlock(with.m_Other, nullptr, 33, 22); }},
    {"copy a block within an image", 24,
     [](Pictures& with) { with.m_Image.fnCopyBlock(with.m_Image, nullptr, 33, 22); }},
    {"merge by a key", 24,
     [](Pictures& with) { with.m_Image.fnMerge(with.m_Other, nullptr, 0x030201ul, 20, 10); }},
    {"merge by a mask", 24,
     [](Pictures& with) { with.m_Image.fnMerge(with.m_Other, nullptr, with.m_Mask, 20, 10); }},
    {"brightness and contrast", 24,
     [](Pictures& with) { with.m_Image.fnBrightContrast(10, 20, false, nullptr); }},
    {"colour balance", 24,
     [](Pictures& with) { with.m_Image.fnColorBalance(10, 20, 30, false, nullptr); }},
    {"hue and saturation", 24,
     [](Pictures& with) { with.m_Image.fnHueSaturation(10, 20, false, nullptr); }},
    {"threshold", 8, [](Pictures& with) { with.m_Image.fnThresholding(99, false, nullptr); }},
    {"draw a line", 24,
     [](Pictures& with) { with.m_Image.fnDrawLine(1, 2, 140, 99, kColor, false); }},
    {"blend", 24,
     [](Pictures& with) {
         q32Blend(with.m_Other, nullptr, with.m_Image, 20, 10, {200, &with.m_Mask}, nullptr);
     }},
    {"blend with alpha", 32,
     [](Pictures& with) {
         q32Blend(with.m_Other, nullptr, with.m_Image, 20, 10, {200, nullptr, BLEND_REPLACE},
                  nullptr);
     }},
    {"resample by alpha", 32,
     [](Pictures& with) { q32ResampleByAlpha(with.m_Image, 100, 90, nullptr); }},
    {"map by tone curves", 24,
     [](Pictures& with) {
         const CqToneCurves curves = {};
         q32ApplyToneCurves(with.m_Image, nullptr, curves, nullptr);
     }},
    {"blur", 24, [](Pictures& with) { q32Blur(with.m_Image, 2.0, nullptr); }},
    {"blur with alpha", 32, [](Pictures& with) { q32Blur(with.m_Image, 20.0, nullptr); }},
    {"sharpen", 24, [](Pictures& with) { q32Sharpen(with.m_Image, 2.0, 90, 1, nullptr); }},
    {"count a histogram", 24,
     [](Pictures& with) {
         CqHistogram histogram;
         q32CountHistogram(with.m_Image, nullptr, &with.m_Mask, histogram, nullptr);
     }},
    {"crop in place", 4,
     [](Pictures& with) { q32Crop(with.m_Image, CRect(9, 8, 140, 100), with.m_Image, nullptr); }},
    {"crop to another", 32,
     [](Pictures& with) { q32Crop(with.m_Other, CRect(9, 8, 80, 60), with.m_Image, nullptr); }},
    {"flip across", 24, [](Pictures& with) { q32FlipHorizontal(with.m_Image, nullptr); }},
    {"flip down", 4, [](Pictures& with) { q32FlipVertical(with.m_Image, nullptr); }},
    {"make grey", 24, [](Pictures& with) { q32ConvertToGrey(with.m_Image, 8, nullptr); }},
    {"feather a mask", 8,
     [](Pictures& with) {
         fnEditMask(with, [](CqMask& mask, const CRect& area) {
             return q32FeatherMask(mask, 2.0, area, nullptr);
         });
     }},
    {"make a mask of a stroke", 8,
     [](Pictures& with) {
         const CqPoint2D points[] = {{9, 8}, {140, 99}, {20, 90}};
         CqMask mask;
         q32MakeStrokeMask(points, 7.5, CRect(0, 0, 150, 110), mask, nullptr);
         with.m_Image = mask;
     }},
    {"read and write a rectangle of pixels", 24,
     [](Pictures& with) {
         const CRect rect(9, 8, 80, 60);
         std::array<unsigned char, std::size_t{71} * 52 * 4> pixels;
         if (!q32ReadPixels(with.m_Other, rect, PIXEL_BGRA32, pixels.data(), 71 * 4) ||
             !q32WritePixels(with.m_Image, rect, PIXEL_BGRA32, pixels.data(), 71 * 4))
             AfxThrowMemoryException();
     }},
    {"invert a mask", 8, [](Pictures& with) { fnEditMask(with, q32InvertMask); }},
    {"convert to 8 bits", 24, [](Pictures& with) { with.m_Image.fnConvert(8, true, nullptr); }},
    {"convert to 16 bits", 32, [](Pictures& with) { with.m_Image.fnConvert(16, true, nullptr); }},
    {"take run lengths", 24,
     [](Pictures& with) { with.m_Image.fnTake(std::as_bytes(std::span(kRunLengths))); }},
    {"copy pixels through accessors", 4,
     [](Pictures& with) { fnCopyPixels(with.m_Other, with.m_Image); }},
    {"draw curves", 24, [](Pictures& with) { fnDrawCurves(with.m_Image); }},
    {"draw a sound", 24, [](Pictures& with) { fnDrawSound(with.m_Image); }},
    {"make a region", 8,
     [](Pictures& with) {
         CRgn region;
         with.m_Image.fnCreateRgn(0x030201ul, region);
     }},
    {"slide a window", 24, [](Pictures& with) { fnSlide(with.m_Image); }},
    {"access rows", 24, [](Pictures& with) { fnPaint(with.m_Image, 9); }},
    {"add masks", 8,
     [](Pictures& with) {
         CqMask sum(with.m_Mask);
         sum.fnOffsetPos(40, 30);
         sum += with.m_Mask;
         with.m_Image = sum;
     }},
    {"subtract masks", 8,
     [](Pictures& with) {
         CqMask rest(with.m_Mask);
         rest.fnOffsetPos(0, 30);
         rest -= with.m_Mask;
         with.m_Image = rest;
     }},
};

class ImageFaults : public FaultTest {
protected:
    /// The image is as before or as after, whatever fails, and nothing else has changed. Returns
    /// how often the operation was refused.
    std::size_t fnFail(const ImageOperation& of) {
        std::optional<Pictures> with;
        Look before[3];
        Look after;
        FaultOperation operation;
        operation.m_szName = of.m_szName;
        operation.m_Prepare = [&] {
            with.emplace(of.m_nBits);
            if (before[0].m_Pixels.empty()) {
                before[0] = fnLook(with->m_Image);
                before[1] = fnLook(with->m_Other);
                before[2] = fnLook(with->m_Mask);
            }
        };
        operation.m_Work = [&] {
            of.m_fnWork(*with);
            return true;
        };
        operation.m_Check = [&](bool done) -> std::string {
            const Look now = fnLook(with->m_Image);
            if (done && after.m_Pixels.empty())
                after = now;
            Q32_WANT(now == after || (!done && now == before[0]));
            Q32_WANT(fnLook(with->m_Other) == before[1]);
            Q32_WANT(fnLook(with->m_Mask) == before[2]);
            return "";
        };
        operation.m_Clear = [&] { with.reset(); };
        return fnFailEachCall(m_Folder, operation).m_nRefused;
    }

    /// All operations; some call nothing.
    void fnFailAll() {
        std::size_t refused = 0;
        for (const ImageOperation& operation : kOperations)
            refused += fnFail(operation);
        EXPECT_GT(refused, 100u);
    }
};

TEST_F(ImageFaults, APictureInAScratchFileIsAsBeforeOrAsAfterWhateverFails) {
    fnFailAll();
}

TEST_F(ImageFaults, APictureInMemoryIsAsBeforeOrAsAfterWhateverFails) {
    q32GetVMPolicy()->fnSetRamLimit(std::uint64_t{1} << 30);
    fnFailAll();
}

TEST_F(ImageFaults, AnImageThatCannotBeMadeLeavesNothing) {
    for (const unsigned int bits : {4u, 8u, 16u, 24u, 32u}) {
        FaultOperation operation;
        operation.m_szName = "an image of " + std::to_string(bits) + " bits";
        operation.m_Work = [=] {
            const CqImage image(500, 400, bits, nullptr, 0);
            return true;
        };
        const FaultTally tally = fnFailEachCall(m_Folder, operation);
        EXPECT_GT(tally.m_nRefused, 5u);
    }
}

TEST_F(ImageFaults, UndoAndRedoRestoreOneOfTheStatesWhateverFails) {
    std::optional<CqImage> image;
    std::optional<CqUndoMngr> manager;
    std::vector<Look> states;
    FaultOperation operation;
    operation.m_szName = "undo and redo";
    operation.m_Prepare = [&] {
        image.emplace(150, 110, 24, nullptr, 0);
        fnPaint(*image, 1);
        if (states.empty()) {
            states.push_back(fnLook(*image));
            CqImage filled(*image);
            filled.fnFill(kColor, nullptr, false);
            states.push_back(fnLook(filled));
        }
        manager.emplace();
    };
    const auto restore = [&](CObject* snapshot) {
        const std::unique_ptr<CObject> owned(snapshot);
        image->fnSwapBuf(static_cast<CqImage&>(*owned));
    };
    operation.m_Work = [&] {
        if (!manager->fnCreate(nullptr, 3, nullptr))
            return false;
        manager->fnAddUndoBuf(q32::fnNew<CqImage>(*image), 1);
        image->fnFill(kColor, nullptr, false);
        restore(manager->fnUndo(q32::fnNew<CqImage>(*image), 2, nullptr));
        restore(manager->fnRedo(q32::fnNew<CqImage>(*image), 3, nullptr));
        return true;
    };
    operation.m_Check = [&](bool done) -> std::string {
        const Look now = fnLook(*image);
        Q32_WANT(now == states[1] || (!done && now == states[0]));
        return "";
    };
    operation.m_Clear = [&] {
        manager.reset();
        image.reset();
    };
    fnFailEachCall(m_Folder, operation);
}

TEST_F(ImageFaults, ASnapshotStaysWhateverFailsWhenTheLevelsChange) {
    std::optional<CqUndoMngr> manager;
    FaultOperation operation;
    operation.m_szName = "change the levels of undo";
    operation.m_Prepare = [&] {
        manager.emplace();
        ASSERT_TRUE(manager->fnCreate(nullptr, 3, nullptr));
        manager->fnAddUndoBuf(q32::fnNew<CqImage>(5u, 4u, 24u, nullptr, 0u), 17);
    };
    operation.m_Work = [&] { return manager->fnChangeLevel(100); };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(manager->fnGetLevelNumber() == (done ? 100u : 3u));
        Q32_WANT(manager->fnCanUndo() && !manager->fnCanRedo());
        return "";
    };
    operation.m_Clear = [&] { manager.reset(); };
    EXPECT_GE(fnFailEachCall(m_Folder, operation).m_nRefused, 1u);
}

TEST_F(ImageFaults, ASoundIsFilledOrStaysWhateverFails) {
    std::optional<CqWave> wave;
    std::vector<unsigned char> frames(std::size_t{20000} * 4, 9);
    FaultOperation operation;
    operation.m_szName = "fill a sound";
    operation.m_Prepare = [&] { wave.emplace(2, 16, 44100, 9000, true); };
    operation.m_Work = [&] {
        wave->fnFillBuffer(frames.data(), 20000);
        return true;
    };
    operation.m_Check = [&](bool done) -> std::string {
        Q32_WANT(wave->fnGetFrameCount() == (done ? 20000u : 9000u));
        Q32_WANT(wave->fnGetBuffer()[wave->fnGetBufferSize() - 1] == (done ? 9 : 0));
        return "";
    };
    operation.m_Clear = [&] { wave.reset(); };
    EXPECT_GT(fnFailEachCall(m_Folder, operation).m_nRefused, 5u);
}

TEST_F(ImageFaults, ASoundInAScratchFileIsCopiedOrRefused) {
    std::optional<CqWave> wave;
    std::string samples;
    FaultOperation operation;
    operation.m_szName = "copy a sound";
    operation.m_Prepare = [&] {
        wave.emplace(2, 16, 44100, 9000, true);
        samples.assign(reinterpret_cast<const char*>(wave->fnGetBuffer()), wave->fnGetBufferSize());
    };
    operation.m_Work = [&] {
        CqWave longer(2, 16, 44100, 20000, true);
        longer = *wave;
        longer.fnSwapBuf(*wave);
        return true;
    };
    operation.m_Check = [&](bool) -> std::string {
        Q32_WANT(std::string(reinterpret_cast<const char*>(wave->fnGetBuffer()),
                             wave->fnGetBufferSize()) == samples);
        return "";
    };
    operation.m_Clear = [&] { wave.reset(); };
    fnFailEachCall(m_Folder, operation);
}

} // namespace
} // namespace q32::test
