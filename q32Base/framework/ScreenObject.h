#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/Records.h" // GetObject may be a macro before it

#include <cassert>
#include <memory>
#include <utility>

namespace q32 {

/// Base of the wrappers of objects that the screen service creates. Owns one object, or none.
template <typename Object>
class Q32_API ScreenObject : public CObject {
public:
    /// Whether there is an object.
    bool HasHandle() const { return m_pObject != nullptr; }
    /// The screen's object; null when there is none.
    Object* GetObject() const { return m_pObject.get(); }
    /// Deletes the object. False when there was none.
    bool DeleteObject() {
        const bool had = HasHandle();
        m_pObject.reset();
        return had;
    }

protected:
    /// Adopts the object that `create` returns by a unique_ptr; there must be none yet. False on
    /// failure, including exhausted memory.
    template <typename Create>
    bool fnCreate(Create&& create) {
        assert(!m_pObject);
        m_pObject = fnTryMemoryOr(std::unique_ptr<Object>(), std::forward<Create>(create));
        return HasHandle();
    }

private:
    std::unique_ptr<Object> m_pObject;
};

} // namespace q32
