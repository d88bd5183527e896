#pragma once

#include "q32Base/framework/CObject.h"

/// A document of the host, as far as the library looks at it: whether it has changes to be saved.
class Q32_API CDocument : public CObject {
public:
    /// 1 when the document has changes; any other number counts as none.
    virtual int IsModified() = 0;
    virtual void SetModifiedFlag(bool modified) = 0;
};
