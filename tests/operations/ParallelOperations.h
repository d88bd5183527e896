/// @file
/// Every operation that several threads may share, to be compared between divisions of the work.
#pragma once

#include "q32Base/q32Base.h"
#include "tests/operations/PlainImage.h"

#include <functional>
#include <memory>
#include <vector>

namespace q32::test {

struct ParallelOperation {
    const char* m_pName;
    /// Changes `image`; `other` has the same depth, and `mask` 8 bits. Returns what else it
    /// computes.
    std::function<Rows(CqImage& image, CqImage& other, CqMask& mask, CqProgressDisplay* progress)>
        m_fnRun;
};

/// What an operation did: the rows of the image, what else it computes, and whether it raised the
/// memory exception.
struct ParallelResult {
    Rows m_Pixels;
    Rows m_Others;
    bool m_bRaised = false;
    bool operator==(const ParallelResult&) const = default;
};

inline Bytes fnBytesOf(const void* data, std::size_t count) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    return Bytes(bytes, bytes + count);
}

inline std::vector<ParallelOperation> fnGetParallelOperations() {
    using Image = CqImage;
    using Mask = CqMask;
    using Progress = CqProgressDisplay;
    const auto plain = [](auto run) {
        return [run](Image& image, Image& other, Mask& mask, Progress* progress) -> Rows {
            run(image, other, mask, progress);
            return {};
        };
    };
    const auto resample = [&](double x, double y, bool filter) {
        return plain([=](Image& image, Image&, Mask&, Progress* progress) {
            image.fnResample(static_cast<unsigned int>(image.Width * x) + 1,
                             static_cast<unsigned int>(image.Height * y) + 1, filter, progress);
        });
    };
    const auto rotate = [&](double angle, bool antiAlias) {
        return plain([=](Image& image, Image&, Mask&, Progress* progress) {
            image.fnRotate(angle, CqColor(9, 80, 7, 255), nullptr, antiAlias, progress);
        });
    };
    const auto convert = [&](unsigned int bits) {
        return plain(
            [=](Image& image, Image&, Mask&, Progress*) { image.fnConvert(bits, false, nullptr); });
    };
    const auto drawn = [&](void (*change)(Image&, Progress*)) {
        return plain([=](Image& image, Image&, Mask&, Progress* progress) {
            image.fnDrawInit(1u, false, CRect(0, 0, 400, 400), CPoint(), nullptr);
            change(image, progress);
        });
    };
    const auto merge = [&](MERGE_TYPE type) {
        return plain([=](Image& image, Image& other, Mask& mask, Progress*) {
            image.fnMerge(other, nullptr, CqMergeParam(type, 0x102030, &mask), 5, 3);
        });
    };
    const auto oscillogram = [&](bool vertical) {
        return plain([=](Image& image, Image&, Mask&, Progress*) {
            constexpr unsigned long kFrames = 700;
            CqWave wave(2, 16, 8000, kFrames, false);
            Bytes samples(4 * kFrames);
            for (std::size_t i = 0; i < samples.size(); ++i)
                samples[i] = static_cast<unsigned char>(i * i >> 3);
            wave.fnFillBuffer(samples.data(), kFrames);
            wave.fnRasterize(image, 20, kFrames - 30, vertical, false);
        });
    };
    const auto blend = [&](BLEND_MODE mode) {
        return plain([=](Image& image, Image& other, Mask& mask, Progress* progress) {
            CqBlendParam param{177, &mask};
            param.m_eMode = mode;
            q32Blend(other, nullptr, image, -3, 4, param, progress);
        });
    };
    return {
        {"reduce by nearest", resample(0.4, 0.3, false)},
        {"enlarge by nearest", resample(1.7, 2.2, false)},
        {"reduce by filter", resample(0.4, 0.3, true)},
        {"enlarge by filter", resample(1.7, 1.2, true)},
        {"resample by alpha", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32ResampleByAlpha(image, image.Width / 2 + 1, image.Height + 9, progress);
         })},
        {"rotate by nearest", rotate(30.0, false)},
        {"rotate bilinearly", rotate(-75.5, true)},
        {"rotate left", rotate(90.0, false)},
        {"rotate by half", rotate(180.0, false)},
        {"rotate right", rotate(270.0, false)},
        {"flip across", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32FlipHorizontal(image, progress);
         })},
        {"flip down", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32FlipVertical(image, progress);
         })},
        {"crop", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32Crop(image, CRect(1, 2, 200, 300), image, progress);
         })},
        {"brightness", plain([](Image& image, Image&, Mask&, Progress* progress) {
             image.fnBrightContrast(20, -30, false, progress);
         })},
        {"balance", plain([](Image& image, Image&, Mask&, Progress* progress) {
             image.fnColorBalance(20, -30, 5, false, progress);
         })},
        {"hue", plain([](Image& image, Image&, Mask&, Progress* progress) {
             image.fnHueSaturation(40, -30, false, progress);
         })},
        {"threshold", plain([](Image& image, Image&, Mask&, Progress* progress) {
             image.fnThresholding(99, false, progress);
         })},
        {"brightness, drawn", drawn([](Image& image, Progress* progress) {
             image.fnBrightContrast(20, -30, true, progress);
         })},
        {"balance, drawn", drawn([](Image& image, Progress* progress) {
             image.fnColorBalance(20, -30, 5, true, progress);
         })},
        {"hue, drawn", drawn([](Image& image, Progress* progress) {
             image.fnHueSaturation(40, -30, true, progress);
         })},
        {"threshold, drawn",
         drawn([](Image& image, Progress* progress) { image.fnThresholding(99, true, progress); })},
        {"curves", plain([](Image& image, Image&, Mask&, Progress* progress) {
             CqToneCurves curves;
             for (int i = 0; i < 256; ++i) {
                 curves.m_Red[i] = static_cast<unsigned char>(255 - i);
                 curves.m_Green[i] = static_cast<unsigned char>(i / 2);
                 curves.m_Blue[i] = static_cast<unsigned char>(i * i / 255);
             }
             const CRect part(3, 1, 250, 240);
             q32ApplyToneCurves(image, &part, curves, progress);
         })},
        {"to 24 bits", convert(24)},
        {"to 32 bits", convert(32)},
        {"to grey", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32ConvertToGrey(image, 8, progress);
         })},
        {"merge by alpha", merge(MERGE_ALPHA)},
        {"merge by key", merge(MERGE_KEY)},
        {"merge by mask", merge(MERGE_MASK)},
        {"blend over", blend(BLEND_OVER)},
        {"blend replacing", blend(BLEND_REPLACE)},
        {"blur", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32Blur(image, 3.0, progress);
         })},
        {"blur widely", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32Blur(image, 60.0, progress);
         })},
        {"sharpen", plain([](Image& image, Image&, Mask&, Progress* progress) {
             q32Sharpen(image, 0.8, 90, 3, progress);
         })},
        {"fill", plain([](Image& image, Image&, Mask&, Progress*) {
             image.fnFill(CqColor(250, 3, 40, 100), nullptr, false);
         })},
        {"fill a part", plain([](Image& image, Image&, Mask&, Progress*) {
             const CRect part(2, 1, 260, 200);
             image.fnFill(CqColor(250, 3, 40, 100), &part, false);
         })},
        {"pattern", plain([](Image& image, Image& other, Mask&, Progress*) {
             const CRect cell(1, 1, 12, 8);
             const CRect part(3, 2, 290, 380);
             image.fnFill(other, &cell, &part);
         })},
        {"wide pattern", plain([](Image& image, Image& other, Mask&, Progress*) {
             image.fnFill(other, nullptr, nullptr);
         })},
        {"copy", plain([](Image& image, Image& other, Mask&, Progress*) {
             image.fnCopyBlock(other, nullptr, 9, -2);
         })},
        {"move", plain([](Image& image, Image&, Mask&, Progress*) {
             const CRect part(0, 0, 120, 60);
             image.fnCopyBlock(image, &part, 9, 70);
         })},
        {"move over itself", plain([](Image& image, Image&, Mask&, Progress*) {
             const CRect part(0, 0, 100, 60);
             image.fnCopyBlock(image, &part, 20, 30);
         })},
        {"to a bitmap and back",
         [](Image& image, Image&, Mask&, Progress*) -> Rows {
             const std::unique_ptr<BITMAPINFOHEADER, void (*)(BITMAPINFOHEADER*)> bitmap(
                 image, [](BITMAPINFOHEADER* block) { ::operator delete(block); });
             Image copy;
             copy = bitmap.get();
             return fnRows(copy);
         }},
        {"histogram",
         [](Image& image, Image&, Mask& mask, Progress* progress) -> Rows {
             CqHistogram all;
             CqHistogram selected;
             q32CountHistogram(image, nullptr, nullptr, all, progress);
             q32CountHistogram(image, nullptr, &mask, selected, progress);
             return {fnBytesOf(&all, sizeof(all)), fnBytesOf(&selected, sizeof(selected))};
         }},
        {"oscillogram", oscillogram(false)},
        {"vertical oscillogram", oscillogram(true)},
        {"masks",
         [](Image&, Image&, Mask& mask, Progress* progress) -> Rows {
             CqMask second(150, 140);
             second.m_rectBound = CRect(30, 20, 180, 160);
             for (std::uint32_t i = 0; i < second.TileMap->BufferSize; ++i)
                 second.TileMap->PixelBuffer[i] = static_cast<unsigned char>(i * 7);
             CqMask sum = mask + second;
             CqMask difference = mask - second;
             q32InvertMask(difference, CRect(-5, -9, 220, 190));
             q32FeatherMask(sum, 4.0, CRect(0, 0, 300, 300), progress);
             Rows all = fnRows(sum);
             for (Bytes& row : fnRows(difference))
                 all.push_back(row);
             return all;
         }},
    };
}

/// The operands of an operation, which depend on the arguments alone.
class ParallelCase {
public:
    ParallelCase(unsigned int width, unsigned int height, unsigned int bits, bool grey)
        : m_Image(width, height, bits, grey ? q32GreyRamp : nullptr, grey ? 256 : 0),
          m_Other(160, 135, bits, grey ? q32GreyRamp : nullptr, grey ? 256 : 0), m_Mask(140, 131) {
        Random random(width * 31 + height * 7 + bits);
        fnSetRandom(m_Image, random);
        fnSetRandom(m_Other, random);
        fnSetRandom(m_Mask, random);
        m_Mask.m_rectBound = CRect(0, 0, 140, 131);
    }

    /// Runs the operation on a copy of the image.
    ParallelResult fnRun(const ParallelOperation& operation, CqProgressDisplay* progress) {
        CqImage image(m_Image);
        ParallelResult result;
        try {
            result.m_Others = operation.m_fnRun(image, m_Other, m_Mask, progress);
        } catch (CMemoryException* failure) {
            failure->Delete();
            result.m_bRaised = true;
        }
        result.m_Pixels = fnRows(image);
        return result;
    }

    CqImage m_Image;
    CqImage m_Other;
    CqMask m_Mask;
};

} // namespace q32::test
