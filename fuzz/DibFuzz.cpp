/// @file Device-independent bitmaps: any bytes as a resource and as a block of known length, and a
/// block that is as long as its header declares by assignment. What is exported comes back the
/// same.

#include "fuzz/FuzzInput.h"
#include "q32Base/image/DibLayout_p.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace {

using namespace q32::fuzz;

constexpr int kResource = 300;
constexpr std::uint32_t kMaxBytes = 1u << 17;

/// Bytes of a block that is as long as its header declares; 0 for one that isn't worth an
/// execution.
std::uint64_t fnDeclaredBytes(const q32::DibLayout& layout, std::size_t given) {
    const BITMAPINFOHEADER& header = layout.m_Header;
    if (header.biSize < q32::kDibHeaderBytes || header.biSize > 4096 || layout.m_nColors > 4096)
        return 0;
    if (header.biCompression == BI_RLE8) {
        if (header.biSizeImage != 0)
            return layout.m_nPixelsAt + header.biSizeImage;
        // Room for end marks behind the stream.
        return std::max<std::uint64_t>(layout.m_nPixelsAt, given + given % 2) + 1024;
    }
    if (header.biWidth <= 0 || header.biHeight <= 0)
        return layout.m_nPixelsAt + 1024;
    return layout.m_nPixelsAt + 1024 +
           layout.m_nHeight * q32::fnDibRowBytes(static_cast<std::uint32_t>(header.biWidth),
                                                 std::min<DWORD>(header.biBitCount, 32));
}

void fnExport(CqImage& image) {
    BITMAPINFOHEADER* block = nullptr;
    if (!fnTry([&] { block = image; }))
        return;
    CqImage back;
    fnTry([&] { back = block; });
    // 4-bit rows lose their last bytes, and 16-bit ones begin with their masks.
    if (back.TileMap && image.BitCount > 4 && image.BitCount != 16)
        fnCheck(fnRows(back) == fnRows(image), "what is exported comes back");
    ::operator delete(block);
}

void fnLoad(std::string_view bytes, unsigned int depth) {
    CqHeadlessResources& resources = *fnWorld().m_pResources;
    resources.fnAdd(resources.fnGetHostModule(), RT_BITMAP_ID, WORD{kResource}, bytes);
    CqImage image;
    if (fnTry([&] { image.fnLoad(kResource, depth); }))
        fnExport(image);
}

void fnAssign(const std::uint8_t* data, std::size_t size) {
    const auto layout = q32::fnReadDibLayout({data, size});
    const std::uint64_t declared = layout ? fnDeclaredBytes(*layout, size) : 0;
    if (declared == 0 || declared > kMaxBytes)
        return;
    Bytes block(static_cast<std::size_t>(declared));
    std::memcpy(block.data(), data, std::min(size, block.size()));
    const bool endless =
        layout->m_Header.biCompression == BI_RLE8 && layout->m_Header.biSizeImage == 0;
    // Pairs count from the first pixel: each of them is an end mark.
    const std::size_t from = std::max<std::size_t>(size, layout->m_nPixelsAt);
    for (std::size_t i = from; endless && i < block.size(); ++i)
        block[i] = (i - layout->m_nPixelsAt) % 2;
    CqImage image(3, 2, 8, nullptr, 0);
    const bool taken = fnTry([&] { image = reinterpret_cast<BITMAPINFOHEADER*>(block.data()); });
    if (taken)
        fnExport(image);
    else
        fnCheck(image.Width == 3 && image.TileMap, "a refused bitmap changes nothing");
}

/// The same bytes as a block that isn't trusted.
void fnTake(const std::uint8_t* data, std::size_t size) {
    CqImage image(3, 2, 8, nullptr, 0);
    const bool taken = fnTry([&] { image.fnTake(std::as_bytes(std::span(data, size))); });
    if (taken)
        fnExport(image);
    else
        fnCheck(image.Width == 3 && image.TileMap, "a refused bitmap changes nothing");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    fnWorld();
    q32GetVMPolicy()->fnSetRamLimit(2 * kMaxBytes);
    const Balance balance;
    static constexpr unsigned int kDepths[] = {0, 24, 32, 8};
    fnLoad(fnText(data + 1, size - 1), kDepths[data[0] % 4]);
    fnAssign(data + 1, size - 1);
    fnTake(data + 1, size - 1);
    return 0;
}
