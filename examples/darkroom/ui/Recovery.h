#pragma once

#include "examples/darkroom/model/Document.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <QStringList>
#include <thread>

namespace darkroom {

/// A copy of a changed picture, for the case that the program ends without saving it. Each running
/// program has one of its own in a common folder, a TIFF with files beside it: what the picture's
/// file said about it, of which a TIFF can't hold all, the picture's name, and a lock; what is left
/// of one that was killed can be adopted.
///
/// A thread writes the copy, from pixels of its own: an image belongs to one thread at a time. So
/// the window waits while the pixels are copied, but not for the disk.
class Recovery {
public:
    /// @param folders   those that may hold copies; the first that suits gets a new one
    /// @param finished  called in the thread that has written a copy; `fnFinish` is to follow
    Recovery(std::function<QStringList()> folders, std::function<void()> finished);
    ~Recovery();
    Recovery(const Recovery&) = delete;
    Recovery& operator=(const Recovery&) = delete;

    /// Whether the present state of a document isn't saved, and not copied either.
    bool fnIsNeeded(Document& document) const;
    /// Bytes that must be free on the disk of the copy, so that editing has room beside it.
    static std::uint64_t fnCountNeeded(const CqImage& image);
    /// Begins to write the copy, in place of an older one, which stays if that fails. Fails without
    /// room in memory, or for files; the path is then the folder's.
    /// @param progress  of the copy of the pixels; may be null
    Outcome fnKeep(Document& document, CqProgressDisplay* progress);
    bool fnIsWriting() const { return m_pJob && !m_pJob->m_bDone; }
    /// Waits for the end of writing, and says how it ended; stopped when nothing was in writing.
    Outcome fnFinish();
    /// Deletes the copy; one in writing is stopped, and deleted by `fnFinish`.
    void fnDrop();
    /// The same, but for an adopted copy that the document doesn't hold yet.
    void fnDropOwn() {
        if (m_bOwn)
            fnDrop();
    }

    /// Makes a copy that a program left behind this one's own. False if there is none.
    /// @param except  copies to be left alone
    bool fnAdopt(const QStringList& except = {});
    /// The document holds what was adopted.
    void fnOwn() { m_bOwn = true; }
    /// Leaves the copy to the next program.
    void fnRelease() { m_pLock.reset(); }
    /// The copy's file, and where the picture was; both empty without a copy.
    QString fnGetPath() const { return m_pLock ? m_strCopy : QString(); }
    QByteArray fnGetFormerPath() const;
    /// What was known about the copied picture's file; empty without a copy, and if that is
    /// damaged. May throw std::bad_alloc.
    std::optional<FileFacts> fnGetFacts() const;

private:
    /// What the thread works on.
    struct Job {
        CqImage m_Image;
        FileFacts m_Facts;
        QByteArray m_Path; ///< of the picture
        QString m_strCopy;
        std::uint32_t m_nState = 0;
        std::atomic<bool> m_bStopped = false;
        std::atomic<bool> m_bDone = false;
        Outcome m_Outcome;
        std::thread m_Thread;
    };

    Outcome fnTakeName(std::uint64_t bytes);
    bool fnTakeName(const QString& folder, std::uint64_t bytes);
    static Outcome fnWrite(Job& job);
    void fnRemoveFiles();

    const std::function<QStringList()> m_Folders;
    const std::function<void()> m_Finished;
    QString m_strCopy;
    std::unique_ptr<QLockFile> m_pLock; ///< held as long as the copy is this program's
    bool m_bOwn = false;                ///< the copy is of this program's document
    std::uint32_t m_nState = 0;         ///< of the document when it was copied
    std::unique_ptr<Job> m_pJob;        ///< null: nothing is in writing
};

} // namespace darkroom
