#pragma once

#include "q32Base/platform/Export.h"

class CqMask;

/// The rule by which one image is merged into another. Any value but the first two counts as
/// MERGE_ALPHA.
enum MERGE_TYPE : int {
    MERGE_KEY = 0,  ///< all pixels but those of a key colour
    MERGE_MASK = 1, ///< a mask gives each pixel's weight
    MERGE_ALPHA = 2 ///< the source's alpha gives each pixel's weight
};

/// The rule and its arguments. A plain value; the mask isn't owned. A colour or a mask converts to
/// it.
struct CqMergeParam {
    MERGE_TYPE m_eType; ///< the rule, which decides what of the rest is used
    unsigned long m_nKey =
        0; ///< key colour: red in bits 0 to 7, green in 8 to 15, blue in 16 to 23
    CqMask* m_pMask = nullptr; ///< for MERGE_MASK; not owned, and must outlive the merge

    /// Merges by a key colour.
    CqMergeParam(unsigned long key) : m_eType(MERGE_KEY), m_nKey(key) {}
    /// Merges by a mask, which is not copied.
    CqMergeParam(CqMask& mask) : m_eType(MERGE_MASK), m_pMask(&mask) {}
    /// Merges by any rule. An argument that the rule doesn't use is ignored, and MERGE_MASK without
    /// a mask merges nothing.
    CqMergeParam(MERGE_TYPE type, unsigned long key, CqMask* mask)
        : m_eType(type), m_nKey(key), m_pMask(mask) {}
};
