#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/platform/CqPlatform.h"
#include "tools/q32/Commands.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Json.h"
#include "tools/q32/Session.h"
#include "tools/q32/Texts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tool {

namespace {

std::string fnFindSettingsFolder() {
    std::string folder;
    q32::fnPlatform().m_pFiles->fnGetConfigDirectory(folder);
    std::ranges::replace(folder, '\\', '/');
    return folder;
}

/// The share in force; 0 for the default.
unsigned int fnGetShare(const CqVMPolicy& policy) {
    return policy.fnIsMemEnabled() ? policy.fnGetMemUsage() : 0;
}

void fnStore(CqVMPolicy& policy, const Words& words) {
    if (words.fnHas("share")) {
        const int share = words.fnGetInteger("share");
        policy.fnEnableMemUsage(share > 0);
        if (share > 0)
            policy.fnSetMemUsage(static_cast<unsigned int>(share));
    }
    errno = 0;
    if (!policy.fnSerialize(false))
        throw Failure{fnFindSettingsFolder() +
                      ": the settings can't be saved: " + std::strerror(errno)};
}

void fnPrint(const CqVMPolicy& policy, bool json) {
    const unsigned int share = fnGetShare(policy);
    if (json) {
        std::string folders;
        for (const std::string& folder : fnListScratchFolders())
            folders += (folders.empty() ? "" : ", ") + fnQuoteJson(folder);
        JsonObject object;
        object.fnAdd("folder", fnFindSettingsFolder());
        object.fnAddRaw("scratch", "[" + folders + "]");
        object.fnAdd("share", std::uint64_t{share});
        object.fnAdd("memory", policy.fnGetRamBound());
        std::printf("%s\n", object.fnGetText().c_str());
        return;
    }
    std::printf("settings: %s\nscratch:  %s\nmemory:   %s for pixels (%s)\n",
                fnFindSettingsFolder().c_str(), fnDescribeScratch().c_str(),
                fnFormatBytes(policy.fnGetRamBound()).c_str(),
                share > 0 ? (std::to_string(share) + " percent").c_str() : "half");
}

} // namespace

int fnRunSettings(const CommandLine& line) {
    const Words& words = line.m_Steps.front().m_Words;
    Session session(line.m_Common);
    CqVMPolicy& policy = *q32GetVMPolicy();
    if (words.fnHas("share") || line.m_Common.fnHas("scratch")) {
        fnStore(policy, words);
        session.fnLimitMemory();
    }
    fnPrint(policy, words.fnHas("json"));
    return CODE_DONE;
}

} // namespace tool
