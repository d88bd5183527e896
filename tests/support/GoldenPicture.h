#pragma once

#include "platforms/headless/CqHeadlessPicture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

/// Compares a picture, byte by byte, with the reviewed one of that name. With Q32_GOLDEN_WRITE in
/// the environment the picture is written instead. The folder is Q32_GOLDEN_FOLDER.
inline void fnCompareGolden(const CqHeadlessPicture& picture, const std::string& name) {
    const std::string path = std::string(Q32_GOLDEN_FOLDER) + "/" + name + ".ppm";
    if (std::getenv("Q32_GOLDEN_WRITE")) {
        ASSERT_TRUE(picture.fnSavePpm(path)) << path;
        return;
    }
    std::ifstream in(path, std::ios::binary);
    const std::string expected{std::istreambuf_iterator<char>(in),
                               std::istreambuf_iterator<char>()};
    EXPECT_TRUE(picture.fnToPpm() == expected) << path << " shows something else";
}
