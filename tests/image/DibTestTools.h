#pragma once

#include "q32Base/memory/CqTileMap_p.h"
#include "tests/support/AttachedTest.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace q32::test {

using Bytes = std::vector<unsigned char>;

/// A bitmap under construction: header, colour table, pixels.
struct Dib {
    BITMAPINFOHEADER m_Header = {};
    Bytes m_Table;
    Bytes m_Pixels;

    Dib(LONG width, LONG height, WORD bits, DWORD compression = BI_RGB) {
        m_Header.biSize = 40;
        m_Header.biWidth = width;
        m_Header.biHeight = height;
        m_Header.biPlanes = 1;
        m_Header.biBitCount = bits;
        m_Header.biCompression = compression;
        if (bits <= 8)
            m_Table.assign(4u << bits, 0);
    }

    Bytes fnBlock() const {
        Bytes block(40 + m_Table.size() + m_Pixels.size());
        std::memcpy(block.data(), &m_Header, 40);
        const auto pixels = std::copy(m_Table.begin(), m_Table.end(), block.begin() + 40);
        std::copy(m_Pixels.begin(), m_Pixels.end(), pixels);
        return block;
    }
};

class DibTest : public AttachedTest {
protected:
    static constexpr int kId = 300;

    void fnPut(const Bytes& block) {
        ASSERT_TRUE(m_World->m_pResources->fnAdd(
            m_World->m_pResources->fnGetHostModule(), RT_BITMAP_ID, WORD{kId},
            {reinterpret_cast<const char*>(block.data()), block.size()}));
    }

    /// The pixels of an image row by row, in the image's byte order.
    static Bytes fnRows(const CqImage& image) {
        Bytes rows(static_cast<std::size_t>(image.RowBytes) * image.Height);
        for (std::uint32_t y = 0; y < image.Height; ++y)
            image.TileMap->fnFetchRow(y, &rows[static_cast<std::size_t>(image.RowBytes) * y]);
        return rows;
    }

    Bytes fnLoadRows(const Dib& dib, unsigned int depth = 0) {
        fnPut(dib.fnBlock());
        CqImage image;
        image.fnLoad(kId, depth);
        return fnRows(image);
    }

    bool fnIsRefused(const Bytes& block) {
        fnPut(block);
        CqImage image(3, 3, 8, nullptr, 0);
        const bool refused = fnRaisesResourceException([&] { image.fnLoad(kId, 0); });
        return refused;
    }
};

} // namespace q32::test
