#include "q32Base/image/CqMask.h"

#include "q32Base/framework/Memory.h"
#include "q32Base/image/CopyTiles_p.h"
#include "q32Base/image/PixelBytes_p.h"

#include <memory>

const CRuntimeClass CqMask::classCqMask = {"CqMask", sizeof(CqMask), 0xFFFF, nullptr,
                                           &CqImage::classCqImage};

CqMask::CqMask(unsigned int width, unsigned int height) {
    fnAlloc(width, height);
}

// The base starts empty, since the assignment copies.
// NOLINTNEXTLINE(bugprone-copy-constructor-init,readability-redundant-member-init)
CqMask::CqMask(CqMask& other) : CqMask() {
    *this = other;
}

const CRuntimeClass* CqMask::GetRuntimeClass() const {
    return &classCqMask;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): deliberate, see the declaration
CqMask& CqMask::operator=(CqMask& other) {
    if (other.TileMap) {
        std::unique_ptr<CqTileMap> fresh(q32::fnNew<CqTileMap>(
            other.Width, other.Height, 8u, q32GreyRamp, 256u, q32::BlockContents::ANY));
        if (other.BitCount < 8) // its single tile has fewer bytes than this mask's
            q32::fnFillAll(*fresh, CqColor());
        else if (&other != this)
            q32::fnCopyTiles(*other.TileMap, *fresh);
        fnSetBuf(fresh.release());
    } else {
        fnFreeBuf();
    }
    m_rectBound = other.m_rectBound;
    if (!other.Title.IsEmpty())
        Title = other.Title;
    TitleFlag = other.TitleFlag;
    DpiX = other.DpiX;
    DpiY = other.DpiY;
    return *this;
}

void CqMask::fnAlloc(unsigned int width, unsigned int height) {
    CqImage::fnAlloc(width, height, 8, q32GreyRamp, 256);
    m_rectBound.SetRect(0, 0, static_cast<LONG>(width), static_cast<LONG>(height));
}

void CqMask::fnLoad(int id, unsigned int) {
    m_rectBound.SetRect(0, 0, 1, 1);
    CqImage::fnLoad(id, 0);
    m_rectBound.right = static_cast<LONG>(Width);
    m_rectBound.bottom = static_cast<LONG>(Height);
}

void CqMask::fnSetPos(const CPoint& pos) {
    m_rectBound = CRect(pos, CSize(static_cast<LONG>(Width), static_cast<LONG>(Height)));
}

void CqMask::fnOffsetPos(int dx, int dy) {
    m_rectBound.OffsetRect(dx, dy);
}

void CqMask::fnOffsetPos(const CPoint& delta) {
    fnOffsetPos(delta.x, delta.y);
}
