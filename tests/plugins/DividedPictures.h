/// @file
/// Small picture files of every kind that several threads read, for the tests that divide work.
#pragma once

#include "tests/plugins/PictureTest.h"

#include <string>
#include <vector>

struct DividedFile {
    std::string m_strName;
    Bytes m_Bytes;
    /// One thread does it alone, whatever its size.
    bool m_bAlone = false;
};

/// Needs no attached library.
std::vector<DividedFile> fnMakeDividedFiles();

/// A way of writing.
struct DividedWrite {
    PICTURE_FORMAT m_eFormat;
    PICTURE_COMPRESSION m_eCompression;
    unsigned int m_nBits;
};
std::vector<DividedWrite> fnGetDividedWrites();
