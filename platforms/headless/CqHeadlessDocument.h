#pragma once

#include "q32Base/framework/CDocument.h"

#include <vector>

/// A document whose modified flag is set and read by a script.
class CqHeadlessDocument final : public CDocument {
public:
    int m_nModified = 0;             ///< the result of `IsModified`
    std::vector<bool> m_ModifiedSet; ///< arguments of all calls of `SetModifiedFlag`, in order

    int IsModified() override { return m_nModified; }
    void SetModifiedFlag(bool modified) override {
        m_nModified = modified ? 1 : 0;
        m_ModifiedSet.push_back(modified);
    }
};
