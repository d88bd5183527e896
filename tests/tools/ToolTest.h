/// @file
/// Shared by the tests of the command line tool: a folder of its own, pictures in it, the program
/// run there, and the library attached to read what came out.
#pragma once

#include "q32Base/image/CqImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

using ToolWords = std::vector<std::string>;

/// How a program is run.
struct ToolRun {
    std::uint64_t m_nFileLimit = 0; ///< bytes of a file that it may write; 0: any
    bool m_bUnprivileged = false;   ///< as a user whom file modes bind, if the test's is not
};

class ToolTest : public testing::Test {
protected:
    ToolTest();
    ~ToolTest() override;

    std::filesystem::path fnPath(const std::string& name) const { return m_Folder / name; }
    /// A picture of seeded noise; with a palette of greys at 8 bits, and with any alpha at 32.
    std::unique_ptr<CqImage> fnMake(const std::string& name, unsigned int width,
                                    unsigned int height, unsigned int bits, unsigned int seed = 1);
    std::unique_ptr<CqImage> fnLoad(const std::string& name);
    void fnPut(const std::string& name, const std::string& bytes) const;
    std::string fnGet(const std::string& name) const;

    /// Runs the tool in the folder; returns its exit code, or minus the number of the signal that
    /// ended it. What it said is in `m_Said` (output) and `m_Errors`.
    int fnRun(const ToolWords& words, const ToolRun& run = {});
    /// Starts it, with both streams into files. The caller waits for it.
    pid_t fnStart(const ToolWords& words, const ToolRun& run = {});
    static int fnAwait(pid_t child);
    /// The exit code of a shell command in the folder, with the tool as `q32`.
    int fnShell(const std::string& command);
    /// What a run left behind: scratch files and unfinished pictures.
    std::vector<std::string> fnListRests() const;

    std::filesystem::path m_Folder;
    std::string m_Said;
    std::string m_Errors;

private:
    void fnBecomeTool(const ToolWords& words, const ToolRun& run) const;
    void fnReadStreams();
};

/// Alpha, red, green and blue of all pixels, whatever the depth.
std::vector<unsigned char> fnPixels(const CqImage& image);
/// The largest difference of two lists of equal length; 256 for lists of unequal length.
int fnFarthest(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b);
