/// @file
/// A folder of its own for each test of a program, and the library attached to look at what it
/// made.
#pragma once

#include "platforms/posix/posix.h"
#include "q32Base/q32Base.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace q32::test {

inline std::string fnTextOf(const std::filesystem::path& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

class ProgramFolder : public testing::Test {
protected:
    ProgramFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "q32program-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::filesystem::filesystem_error(
                "mkdtemp", std::error_code(errno, std::generic_category()));
        m_Folder = name;
        EXPECT_TRUE(q32Attach(q32PosixPlatform()));
    }
    ~ProgramFolder() override {
        q32Detach();
        std::error_code ignored;
        std::filesystem::remove_all(m_Folder, ignored);
    }
    ProgramFolder(const ProgramFolder&) = delete;
    ProgramFolder& operator=(const ProgramFolder&) = delete;

    std::filesystem::path m_Folder;
};

} // namespace q32::test
