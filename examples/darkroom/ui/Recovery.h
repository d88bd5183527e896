#pragma once

#include "examples/darkroom/model/Document.h"

#include <memory>
#include <optional>
#include <QByteArray>
#include <QLockFile>
#include <QString>

namespace darkroom {

/// A copy of a changed picture, for the case that the program ends without saving it. Each running
/// program has one of its own in a common folder, a TIFF with files beside it: the metadata, of
/// which a TIFF can't hold all, the picture's name, and a lock; what is left of one that was killed
/// can be adopted.
class Recovery {
public:
    /// @param folder  made when first needed
    explicit Recovery(QString folder) : m_strFolder(std::move(folder)) {}
    ~Recovery() { fnDrop(); }
    Recovery(const Recovery&) = delete;
    Recovery& operator=(const Recovery&) = delete;

    /// Whether the present state of a document isn't saved, and not copied either.
    bool fnIsNeeded(Document& document) const;
    /// Writes the copy, in place of an older one, which stays if that fails. Nothing is shown; the
    /// outcome says how it ended.
    Outcome fnKeep(Document& document, CqProgressDisplay* progress);
    /// Deletes the copy.
    void fnDrop();
    /// The same, but for an adopted copy that the document doesn't hold yet.
    void fnDropOwn() {
        if (m_bOwn)
            fnDrop();
    }

    /// Makes the copy that a program left behind this one's own. False if there is none.
    bool fnAdopt();
    /// The document holds what was adopted.
    void fnOwn() { m_bOwn = true; }
    /// Leaves the copy to the next program.
    void fnRelease() { m_pLock.reset(); }
    /// The copy's file, and the name of the picture; both empty without a copy.
    QString fnGetPath() const { return m_pLock ? m_strCopy : QString(); }
    QString fnGetName() const;
    /// What the copied picture's file said about it; empty without a copy, and if that is damaged.
    /// May throw std::bad_alloc.
    std::optional<CqPictureMetadata> fnGetMetadata() const;

private:
    bool fnTakeName();
    QString fnGetFile(const char* suffix) const;

    const QString m_strFolder;
    QString m_strCopy;
    std::unique_ptr<QLockFile> m_pLock; ///< held as long as the copy is this program's
    bool m_bOwn = false;                ///< the copy is of this program's document
    std::uint32_t m_nState = 0;         ///< of the document when it was copied
};

} // namespace darkroom
