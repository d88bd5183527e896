#pragma once

#include "q32Base/platform/Export.h"

class CqMask;

/// By which rule one image is laid over another. Any value but the first two counts as MERGE_ALPHA.
enum MERGE_TYPE : int {
    MERGE_KEY = 0,  ///< a key colour is left out
    MERGE_MASK = 1, ///< a mask weighs each pixel
    MERGE_ALPHA = 2 ///< the source's own alpha weighs each pixel
};

/// The rule and what it needs. A plain value; the mask isn't owned. A colour or a mask alone will
/// do where one is wanted.
struct CqMergeParam {
    MERGE_TYPE m_eType;
    unsigned long m_nKey =
        0; ///< key colour: red in bits 0 to 7, green in 8 to 15, blue in 16 to 23
    CqMask* m_pMask = nullptr;

    CqMergeParam(unsigned long key) : m_eType(MERGE_KEY), m_nKey(key) {}
    CqMergeParam(CqMask& mask) : m_eType(MERGE_MASK), m_pMask(&mask) {}
    CqMergeParam(MERGE_TYPE type, unsigned long key, CqMask* mask)
        : m_eType(type), m_nKey(key), m_pMask(mask) {}
};
