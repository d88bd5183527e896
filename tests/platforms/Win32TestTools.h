/// @file Folders, files and child processes for the tests of the Windows back end.
#pragma once

#include "platforms/win32/win32.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace q32::test {

/// A new folder in the directory of temporary files, removed with this object.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    /// In the library's form, with a backslash at its end.
    std::string fnPath(const std::string& name = "") const { return m_Path.string() + '\\' + name; }
    std::wstring fnWide(const std::wstring& name = L"") const {
        return m_Path.wstring() + L'\\' + name;
    }
    /// The names in it, sorted.
    std::vector<std::wstring> fnList() const;

private:
    std::filesystem::path m_Path;
};

void fnWriteFile(const std::wstring& path, const std::string& bytes);
std::string fnReadFile(const std::wstring& path);

/// Something that a child process does. The process runs the same program; it kills itself when
/// `work` returns, without any clean-up.
class ChildWork {
public:
    /// @param name  unique in the program
    ChildWork(const char* name, std::function<void(const std::string& argument)> work);
    /// Runs it in a child process and waits for its end. False if it ended in another way.
    bool fnRun(const std::string& argument) const;

private:
    std::wstring m_szName;
};

} // namespace q32::test
