#pragma once

#include "q32Base/platform/Export.h"

class Q32_API CqProgressDisplay {
public:
    explicit CqProgressDisplay(bool = true) {}
    virtual void fnDrawStatus(unsigned int, bool* pbAborted) {
        if (pbAborted)
            *pbAborted = m_bAborted = fnIsAborted();
    }
    virtual void fnClearStatus() const {}
    virtual bool fnIsAborted() const { return false; }
    bool fnWasAborted() const { return m_bAborted; }

protected:
    bool m_bAborted = false;
};
