#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/platform/CqScreenService.h"

#include <memory>

/// A font of the screen, or none. Owns the object that it stands for.
class Q32_API CFont : public CObject {
public:
    CFont() = default;
    ~CFont() override = default;

    /// Makes a font by the platform in force; this object must stand for none. False on failure,
    /// memory included.
    bool CreateFontIndirect(const LOGFONTA* font);
    /// The same with the font that the user has chosen for titles of icons.
    bool CreateIconTitleFont();
    bool HasHandle() const { return m_pObject != nullptr; }

    /// The screen's object; null when there is none.
    CqFontObject* GetObject() const { return m_pObject.get(); }

private:
    std::unique_ptr<CqFontObject> m_pObject;
};
