#include "tools/q32/Session.h"

#include "platforms/posix/posix.h"
#include "q32Base/module/Module.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Texts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

/// Share of the memory that pixels take by default, in percent.
constexpr unsigned int kUsualShare = 50;
/// A decoder gets this part of the memory that the user allows, and at least so much.
constexpr std::uint64_t kCodecPart = 4;
constexpr std::uint64_t kMinCodecBytes = std::uint64_t{16} << 20;
/// Scratch files may be mapped up to this part of it, and at least so far.
constexpr std::uint64_t kMappedPart = 32;
constexpr std::uint64_t kMinMappedBytes = std::uint64_t{8} << 20;

CqPlatform fnMakePlatform(const std::function<void(CqPlatform&)>& prepare) {
    CqPosixOptions options;
    options.m_bGuardViews = true;
    CqPlatform platform = q32PosixPlatform(options);
    if (prepare)
        prepare(platform);
    return platform;
}

void fnRequireFolder(const std::string& folder) {
    struct stat facts {};
    const bool found = stat(folder.c_str(), &facts) == 0;
    if (found && !S_ISDIR(facts.st_mode))
        errno = ENOTDIR;
    if (!found || !S_ISDIR(facts.st_mode) || access(folder.c_str(), W_OK | X_OK) != 0)
        throw Failure{folder + ": can't hold scratch files: " + std::strerror(errno)};
}

} // namespace

Session::Attachment::Attachment(const CqPlatform& platform) {
    if (!q32Attach(platform))
        throw Failure{"the library can't be started"};
}

Session::Attachment::~Attachment() {
    q32Detach();
}

Session::Session(const Words& common, const std::function<void(CqPlatform& platform)>& prepare)
    : m_Common(common), m_Progress(m_Keys, common.fnHas("quiet")) {
    m_Progress.fnRequire();
    const CqPlatform platform = fnMakePlatform(prepare);
    if (common.fnHas("memory")) {
        const std::uint64_t bytes = fnParseBytes(common.fnGetText("memory")).value();
        q32PosixLimitViews(platform, std::max(bytes / kMappedPart, kMinMappedBytes));
        m_Progress.fnSetTrim([platform] { q32PosixTrimViews(platform); });
    }
    m_Attachment.emplace(platform);
    if (common.fnHas("scratch"))
        fnSetScratchFolders(common.fnGetText("scratch"));
    fnLimitMemory();
    // What a killed run left behind.
    q32PosixSweepScratchFiles(fnListScratchFolders());
}

/// The settings' percentage is computed in 32 bits by the library, and refers to the machine; here
/// it refers to what this process may use.
void Session::fnLimitMemory() {
    CqVMPolicy& policy = *q32GetVMPolicy();
    if (m_Common.fnHas("memory")) {
        const std::uint64_t bytes = fnParseBytes(m_Common.fnGetText("memory")).value();
        const std::uint64_t codec = std::max(bytes / kCodecPart, kMinCodecBytes);
        m_Limits.m_nCodecBytes = std::min(m_Limits.m_nCodecBytes, codec);
        policy.fnSetRamLimit(bytes - bytes / kCodecPart);
        return;
    }
    const std::uint64_t usable = q32PosixUsableMemory();
    const unsigned int share = policy.fnIsMemEnabled() ? policy.fnGetMemUsage() : kUsualShare;
    if (usable != 0)
        policy.fnSetRamLimit(usable / 100 * share);
}

void Session::fnWarn(const std::string& text) {
    if (!m_Common.fnHas("quiet"))
        fnReport(text);
}

void Session::fnReport(const std::string& text) {
    m_Progress.fnClearStatus();
    std::fprintf(stderr, "q32: %s\n", text.c_str());
}

std::vector<std::string> fnListScratchFolders() {
    std::vector<std::string> folders;
    const CqVMPolicy& policy = *q32GetVMPolicy();
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i) {
        if (!policy.fnIsDiskEnabled(i))
            continue;
        std::string folder = static_cast<const char*>(policy.fnGetDisk(i));
        std::ranges::replace(folder, '\\', '/');
        while (folder.size() > 1 && folder.back() == '/')
            folder.pop_back();
        if (!folder.empty())
            folders.push_back(std::move(folder));
    }
    return folders;
}

std::string fnDescribeScratch() {
    std::string text;
    const CqVMPolicy& policy = *q32GetVMPolicy();
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i) {
        if (!policy.fnIsDiskEnabled(i))
            continue;
        ULARGE_INTEGER space{};
        policy.fnGetDiskFreeSpace(i, space);
        text += (text.empty() ? "" : ", ") + std::string(policy.fnGetDisk(i)) + " has " +
                fnFormatBytes(space.QuadPart) + " free";
    }
    std::ranges::replace(text, '\\', '/');
    return text.empty() ? "no scratch folder" : text;
}

void fnSetScratchFolders(const std::string& folders) {
    const std::vector<std::string> names = fnSplitText(folders, ',');
    for (const std::string& name : names)
        fnRequireFolder(name);
    CqVMPolicy& policy = *q32GetVMPolicy();
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i) {
        policy.fnSetDisk(i, "");
        policy.fnEnableDisk(i, i < names.size());
        if (i >= names.size())
            continue;
        policy.fnSetDisk(i, std::filesystem::absolute(names[i]).c_str());
        if (policy.fnGetDisk(i).IsEmpty())
            throw Failure{names[i] + ": the name of a scratch folder is too long"};
    }
}

} // namespace tool
