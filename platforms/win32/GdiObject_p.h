#pragma once

#include "q32Base/platform/Records.h"

#include <utility>

namespace q32::win32 {

/// Owns a drawing object of the system: a palette, region, font or bitmap. It must not be selected
/// when it goes.
template <typename Type>
class GdiObject {
public:
    explicit GdiObject(Type object = nullptr) : m_Object(object) {}
    GdiObject(GdiObject&& other) noexcept : m_Object(std::exchange(other.m_Object, nullptr)) {}
    GdiObject& operator=(GdiObject&& other) noexcept {
        std::swap(m_Object, other.m_Object);
        return *this;
    }
    ~GdiObject() {
        if (m_Object)
            ::DeleteObject(m_Object);
    }

    explicit operator bool() const { return m_Object != nullptr; }
    Type fnGet() const { return m_Object; }

private:
    Type m_Object;
};

/// A device context of the whole screen, for questions about it.
class ScreenDC {
public:
    ScreenDC() : m_DC(::GetDC(nullptr)) {}
    ~ScreenDC() { ::ReleaseDC(nullptr, m_DC); }
    ScreenDC(const ScreenDC&) = delete;
    ScreenDC& operator=(const ScreenDC&) = delete;

    HDC fnGet() const { return m_DC; }

private:
    HDC m_DC;
};

} // namespace q32::win32
