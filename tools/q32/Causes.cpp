#include "plugins/PictureFile.h"
#include "q32Base/messages/Messages.h"
#include "tools/q32/Session.h"
#include "tools/q32/Texts.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

std::string fnNameError(int error) {
    return error != 0 ? std::string(": ") + std::strerror(error) : "";
}

/// Why a file can't be opened, by trying again with the system's own calls.
std::string fnExplainOpening(const std::string& path, int error) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0)
        return fnNameError(errno);
    if (S_ISDIR(facts.st_mode))
        return ": it is a folder";
    if (!S_ISREG(facts.st_mode))
        return ": it is no ordinary file";
    return fnNameError(access(path.c_str(), R_OK) != 0 ? errno : error);
}

/// Why nothing can be saved under a name, if that can be seen without trying.
std::string fnExplainTarget(const std::string& path, int error) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode))
        return ": it is a folder";
    if (error == EFBIG)
        return ": the file would exceed the limit for files (ulimit -f)";
    return fnNameError(error);
}

} // namespace

std::string fnExplainReading(const std::string& path, const CqPictureResult& result, int error) {
    if (const char* const limit = q32GetPictureLimitText(result.m_eLimit))
        return path + ": can't be read: " + limit;
    switch (result.m_nMsgId) {
    case MESSAGE_NO_MEMORY:
        return path + ": can't be read: " + fnExplainMemory();
    case MESSAGE_CANNOT_OPEN:
        return path + ": can't be opened" + fnExplainOpening(path, error);
    case MESSAGE_CORRUPTED:
        return path + ": is damaged or incomplete";
    case MESSAGE_IN_USE:
        return path + ": another program has it open";
    case MESSAGE_EMPTY:
        return path + ": is empty";
    case MESSAGE_UNSUPPORTED:
        return path + ": is no file of a known format, or a variant that isn't supported";
    default:
        return path + ": can't be read" + fnNameError(error);
    }
}

std::string fnExplainWriting(const std::string& path, const CqPictureResult& result, int error) {
    switch (result.m_nMsgId) {
    case MESSAGE_NO_MEMORY:
        return path + ": can't be saved: " + fnExplainMemory();
    case MESSAGE_IN_USE:
        return path + ": can't be saved: another program has it open";
    case MESSAGE_UNSUPPORTED:
        return path + ": can't be saved: the format can't hold this picture";
    default:
        return path + ": can't be saved" + fnExplainTarget(path, error);
    }
}

std::string fnExplainMemory() {
    return "not enough memory or scratch space: " + fnDescribeScratch();
}

std::string fnFormatBytes(std::uint64_t bytes) {
    constexpr std::array<const char*, 5> kUnits = {"bytes", "KB", "MB", "GB", "TB"};
    constexpr double kStep = 1024;
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= kStep && unit + 1 < kUnits.size(); ++unit)
        value /= kStep;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f %s", unit == 0 || value >= 100 ? 0 : 1, value,
                  kUnits[unit]);
    return text.data();
}

} // namespace tool
