#pragma once

#include "q32Base/framework/CObject.h"

/// A host's document, as far as the library uses it: whether it has unsaved changes.
class Q32_API CDocument : public CObject {
public:
    /// 1 if the document has unsaved changes; any other value counts as unmodified.
    virtual int IsModified() = 0;
    /// Sets whether the document has unsaved changes.
    virtual void SetModifiedFlag(bool modified) = 0;
};
