#pragma once

#include "q32Base/framework/CDocument.h"

#include <vector>

/// A document whose modified flag the script sets and reads.
class CqHeadlessDocument final : public CDocument {
public:
    int m_nModified = 0;             ///< what `IsModified` answers
    std::vector<bool> m_ModifiedSet; ///< all that `SetModifiedFlag` was told, in order

    int IsModified() override { return m_nModified; }
    void SetModifiedFlag(bool modified) override {
        m_nModified = modified ? 1 : 0;
        m_ModifiedSet.push_back(modified);
    }
};
