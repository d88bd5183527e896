/// @file
/// An attached library on a headless screen, and images to draw there.
#pragma once

#include "platforms/headless/headless.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/image/CqImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

/// Attaches the library to a headless world for its lifetime.
class CqDisplayWorld {
public:
    explicit CqDisplayWorld(int screenBits);
    ~CqDisplayWorld();
    CqDisplayWorld(const CqDisplayWorld&) = delete;
    CqDisplayWorld& operator=(const CqDisplayWorld&) = delete;

    /// Changes the screen's depth and updates the library.
    void fnSetDepth(int screenBits);
    CqHeadlessScreen& fnScreen() { return *m_pWorld->m_pScreen; }
    CqHeadlessWorld& fnWorld() { return *m_pWorld; }
    CDC* fnDC() { return m_pDC; }
    static CqDisplayProperty& fnDisplay() { return *q32GetDisplayProperty(); }

private:
    std::shared_ptr<CqHeadlessWorld> m_pWorld;
    CDC* m_pDC;
};

/// Gives every byte of the image's pixels a value by a fixed rule from `seed`; palette depths get a
/// colourful palette, with something in the reserved bytes.
void fnFillNoise(CqImage& image, std::uint32_t seed);

/// An image of noise.
std::unique_ptr<CqImage> fnMakeNoise(unsigned int width, unsigned int height, unsigned int bits,
                                     std::uint32_t seed = 1);
