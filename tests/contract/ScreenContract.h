#pragma once

#include "q32Base/framework/CPalette.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/support/Random.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

/// Base of the screen's suites: one visible window, in white.
///
/// Screens differ in colour resolution. Exact everywhere, without a palette, are the eight corners
/// of the colour cube; with a palette, colours of 5, 6 and 5 bits.
class ScreenContractTest : public AttachedContractTest {
protected:
    static constexpr int kWidth = ContractWindow::kWidth;
    static constexpr int kHeight = ContractWindow::kHeight;

    void SetUp() override {
        AttachedContractTest::SetUp();
        m_pWindow = m_World.m_MakeWindow();
        ASSERT_NE(m_pWindow, nullptr);
        const CRect client = m_pWindow->fnGetWnd().GetClientRect();
        ASSERT_GE(client.Width(), kWidth);
        ASSERT_GE(client.Height(), kHeight);
        fnWhiten();
        m_Before = m_pWindow->fnGetPicture();
        for (const std::uint32_t pixel : m_Before.m_Pixels)
            ASSERT_EQ(pixel, 0xFFFFFFu);
    }
    void TearDown() override {
        m_pWindow.reset();
        AttachedContractTest::TearDown();
    }

    static std::uint32_t fnGetCorner(std::uint32_t index) {
        return ((index & 4u) != 0 ? 0xFF0000u : 0u) | ((index & 2u) != 0 ? 0xFF00u : 0u) |
               ((index & 1u) != 0 ? 0xFFu : 0u);
    }
    /// A colour that a 16-bit screen represents exactly.
    static std::uint32_t fnGetColor565(Random& random) {
        const auto part = [&](unsigned bits) {
            const std::uint32_t value = random() % (1u << bits);
            return value << (8 - bits) | value >> (2 * bits - 8);
        };
        const std::uint32_t red = part(5);
        const std::uint32_t green = part(6);
        return red << 16 | green << 8 | part(5);
    }
    static PALETTEENTRY fnToEntry(std::uint32_t color) {
        return {static_cast<BYTE>(color >> 16), static_cast<BYTE>(color >> 8),
                static_cast<BYTE>(color), 0};
    }

    /// Fills the client area with rows of 32 bits.
    void fnWhiten() {
        CWnd& window = m_pWindow->fnGetWnd();
        const CRect client = window.GetClientRect();
        BITMAPINFOHEADER header{};
        header.biSize = sizeof(header);
        header.biWidth = client.Width();
        header.biHeight = client.Height();
        header.biPlanes = 1;
        header.biBitCount = 32;
        const std::vector<std::uint32_t> pixels(static_cast<std::size_t>(client.Width()) *
                                                    static_cast<std::size_t>(client.Height()),
                                                0x00FFFFFFu);
        const CClientDC dc(&window);
        ASSERT_TRUE(dc);
        const auto rows = static_cast<UINT>(client.Height());
        EXPECT_EQ(m_Screen.fnSetDIBitsToDevice(dc.GetDC(), 0, 0, static_cast<UINT>(client.Width()),
                                               rows, 0, 0, 0, rows, pixels.data(), &header,
                                               DIB_RGB_COLORS),
                  client.Height());
    }

    /// A palette of these colours.
    static std::unique_ptr<CPalette> fnMakePalette(const std::vector<std::uint32_t>& colors) {
        std::vector<std::uint8_t> block(sizeof(LOGPALETTE) + colors.size() * sizeof(PALETTEENTRY));
        auto* log = reinterpret_cast<LOGPALETTE*>(block.data());
        log->palVersion = 0x300;
        log->palNumEntries = static_cast<WORD>(colors.size());
        for (std::size_t i = 0; i < colors.size(); ++i) {
            const PALETTEENTRY entry = fnToEntry(colors[i]);
            std::memcpy(block.data() + offsetof(LOGPALETTE, palPalEntry) + i * sizeof(entry),
                        &entry, sizeof(entry));
        }
        auto palette = std::make_unique<CPalette>();
        EXPECT_TRUE(palette->CreatePalette(log));
        return palette;
    }

    CqScreenService& m_Screen = *m_World.m_Platform.m_pScreen;
    std::unique_ptr<ContractWindow> m_pWindow;
    ContractPicture m_Before; ///< white
};
