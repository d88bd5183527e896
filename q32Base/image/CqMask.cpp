#include "q32Base/image/CqMask.h"

const CRuntimeClass CqMask::classCqMask = {"CqMask", sizeof(CqMask), 0xFFFF, nullptr,
                                           &CqImage::classCqImage};

CqMask::CqMask(unsigned int width, unsigned int height) {
    fnAlloc(width, height);
}

const CRuntimeClass* CqMask::GetRuntimeClass() const {
    return &classCqMask;
}

void CqMask::fnAlloc(unsigned int width, unsigned int height) {
    CqImage::fnAlloc(width, height, 8, q32GreyRamp, 256);
    m_rectBound.SetRect(0, 0, static_cast<LONG>(width), static_cast<LONG>(height));
}
