/// @file The library, attached for one run.
#pragma once

#include "plugins/PictureTypes.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/platform/CqPlatform.h"
#include "tools/q32/CommandLine.h"
#include "tools/q32/Failure.h"
#include "tools/q32/Progress.h"
#include "tools/q32/Texts.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/// Attaches the library with the options that every command takes, and detaches it. One at a time.
/// Images must be destroyed before it.
class Session {
public:
    /// @param common   outlives this
    /// @param prepare  may replace services of the platform; null: none
    /// Throws Failure, and Interrupted for a signal that came before.
    explicit Session(const Words& common,
                     const std::function<void(CqPlatform& platform)>& prepare = nullptr);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Words& fnGetCommon() const { return m_Common; }
    Progress& fnGetProgress() { return m_Progress; }
    Keys& fnGetKeys() { return m_Keys; }
    /// What reading one picture may take.
    const CqPictureLimits& fnGetLimits() const { return m_Limits; }
    /// Sets what pixels and decoders may take, by the command line, else by the settings.
    void fnLimitMemory();
    /// Prints a line on the error stream, unless the user wants none.
    void fnWarn(const std::string& text);
    /// Prints a line on the error stream.
    void fnReport(const std::string& text);

private:
    /// Attaches the library for as long as it exists.
    class Attachment {
    public:
        explicit Attachment(const CqPlatform& platform);
        ~Attachment();
        Attachment(const Attachment&) = delete;
        Attachment& operator=(const Attachment&) = delete;
    };

    const Words& m_Common;
    Keys m_Keys;
    Progress m_Progress;
    CqPictureLimits m_Limits;
    std::optional<Attachment> m_Attachment;
};

/// Runs `work` and reports exhausted memory as a Failure that names what was done, with the room in
/// the scratch folders.
template <typename Work>
void fnExplainFailure(const std::string& what, const Work& work) {
    if (!q32::fnTryMemory(work))
        throw Failure{what + ": " + fnExplainMemory()};
}

/// The folders that hold scratch files at present, in the system's form.
std::vector<std::string> fnListScratchFolders();
/// The same with the free space of each, for a message.
std::string fnDescribeScratch();
/// Sets the scratch disks to folders separated by commas. Throws Failure for one that doesn't exist
/// or can't be written to.
void fnSetScratchFolders(const std::string& folders);

} // namespace tool
