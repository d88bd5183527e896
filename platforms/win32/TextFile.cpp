#include "platforms/win32/FileAccess_p.h"
#include "platforms/win32/ReplaceFile_p.h"
#include "platforms/win32/TextFile_p.h"

#include <thread>
#include <utility>

namespace q32::win32 {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPause{2};

/// Repeats `attempt` until it succeeds, fails for another reason than that somebody has the file
/// open, or time is up.
template <typename Attempt>
bool fnInsist(Clock::time_point end, Attempt attempt) {
    while (!attempt()) {
        if (::GetLastError() != ERROR_SHARING_VIOLATION || Clock::now() >= end)
            return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

bool fnExists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool fnTryToRead(const std::wstring& path, std::string& text) {
    const Handle file =
        fnOpenFile(path.c_str(), GENERIC_READ, kShareUse | FILE_SHARE_DELETE, OPEN_EXISTING);
    std::uint64_t size = 0;
    if (!file || !fnGetSize(file, size))
        return false;
    if (size > kMaxTextBytes) {
        ::SetLastError(ERROR_FILE_TOO_LARGE);
        return false;
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const auto got = fnReadAt(file, bytes.data(), bytes.size(), 0);
    if (!got)
        return false;
    bytes.resize(*got);
    text = std::move(bytes);
    return true;
}

} // namespace

bool fnReadTextFile(const std::wstring& path, std::chrono::milliseconds patience,
                    std::string& text) {
    return fnInsist(Clock::now() + patience, [&] { return fnTryToRead(path, text); });
}

bool fnUpdateTextFile(const std::wstring& path, std::chrono::milliseconds patience,
                      const std::function<bool(std::string& text)>& edit) {
    const Clock::time_point end = Clock::now() + patience;
    std::wstring target = path;
    if (target.empty() || !fnFollow(target))
        return false;
    Handle lock;
    std::string text;
    const bool ready = fnInsist(end, [&] {
        lock = fnOpenFile((target + L".lock").c_str(), GENERIC_WRITE, kShareNone, OPEN_ALWAYS);
        return static_cast<bool>(lock);
    });
    if (!ready)
        return false;
    const bool exists = fnExists(target);
    if (exists && !fnInsist(end, [&] { return fnTryToRead(target, text); }))
        return false;
    if (!edit(text))
        return true;
    if (text.size() > kMaxTextBytes) {
        ::SetLastError(ERROR_FILE_TOO_LARGE);
        return false;
    }
    // One that has appeared meanwhile isn't lost for what was added to nothing.
    if (!exists && fnExists(target)) {
        ::SetLastError(ERROR_FILE_EXISTS);
        return false;
    }
    Handle file;
    const ReplacementFile replacement(target, file);
    return replacement && fnWriteAt(file, text.data(), text.size(), 0) &&
           fnInsist(end, [&] { return replacement.fnTakePlace(file); });
}

} // namespace q32::win32
