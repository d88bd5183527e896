#include "tests/platforms/Win32TestTools.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

namespace q32::test {

namespace {

namespace fs = std::filesystem;

constexpr wchar_t kWork[] = L"Q32_TEST_WORK";
constexpr wchar_t kArgument[] = L"Q32_TEST_ARGUMENT";
constexpr UINT kKilled = 42;

} // namespace

Folder::Folder() {
    static std::random_device random;
    m_Path = fs::temp_directory_path() / ("q32test" + std::to_string(random()));
    fs::create_directory(m_Path);
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(m_Path, ignored);
}

std::vector<std::wstring> Folder::fnList() const {
    std::vector<std::wstring> names;
    for (const auto& entry : fs::directory_iterator(m_Path))
        names.push_back(entry.path().filename().wstring());
    std::sort(names.begin(), names.end());
    return names;
}

void fnWriteFile(const std::wstring& path, const std::string& bytes) {
    std::ofstream(fs::path(path), std::ios::binary) << bytes;
}

std::string fnReadFile(const std::wstring& path) {
    std::ifstream in(fs::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

ChildWork::ChildWork(const char* name, std::function<void(const std::string& argument)> work) {
    m_szName.assign(name, name + std::string_view(name).size());
    wchar_t wanted[64] = {};
    ::GetEnvironmentVariableW(kWork, wanted, 64);
    if (m_szName != wanted)
        return;
    wchar_t argument[1024] = {};
    ::GetEnvironmentVariableW(kArgument, argument, 1024);
    work(fs::path(argument).string());
    ::TerminateProcess(::GetCurrentProcess(), kKilled);
}

bool ChildWork::fnRun(const std::string& argument) const {
    wchar_t program[1024] = {};
    ::GetModuleFileNameW(nullptr, program, 1024);
    ::SetEnvironmentVariableW(kWork, m_szName.c_str());
    ::SetEnvironmentVariableW(kArgument, fs::path(argument).c_str());
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    const bool started = ::CreateProcessW(program, nullptr, nullptr, nullptr, FALSE, 0, nullptr,
                                          nullptr, &start, &process);
    ::SetEnvironmentVariableW(kWork, nullptr);
    if (!started)
        return false;
    ::WaitForSingleObject(process.hProcess, 60'000);
    DWORD result = 0;
    ::GetExitCodeProcess(process.hProcess, &result);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return result == kKilled;
}

} // namespace q32::test
