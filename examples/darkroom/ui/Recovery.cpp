#include "examples/darkroom/ui/Recovery.h"

#include "examples/darkroom/model/Progress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace darkroom {

namespace {

constexpr char kPicture[] = ".tif";
constexpr char kLock[] = ".lock";
constexpr char kName[] = ".name";

QString fnWithout(const QString& path, const char* suffix) {
    return path.chopped(QString(suffix).size());
}

/// A lock that another program holds isn't broken, however old it is; that of a killed one is.
std::unique_ptr<QLockFile> fnLock(const QString& stem) {
    auto lock = std::make_unique<QLockFile>(stem + kLock);
    lock->setStaleLockTime(0);
    return lock->tryLock(0) ? std::move(lock) : nullptr;
}

} // namespace

bool Recovery::fnIsNeeded(Document& document) const {
    return document.fnHasImage() && document.IsModified() != 0 &&
           (!m_pLock || m_nState != document.fnGetState());
}

bool Recovery::fnTakeName() {
    if (m_pLock)
        return true;
    if (!QDir().mkpath(m_strFolder))
        return false;
    const QString stem =
        QDir(m_strFolder).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces));
    m_pLock = fnLock(stem);
    m_strCopy = stem + kPicture;
    return m_pLock != nullptr;
}

Outcome Recovery::fnKeep(Document& document, CqProgressDisplay* progress) {
    if (!fnTakeName())
        return fnFail(MESSAGE_CANNOT_SAVE, m_strFolder.toStdString());
    return fnGuard([&] {
        PictureProgress pictureProgress(progress);
        CqPictureOptions fast;
        fast.m_eTiffCompression = PICTURE_UNCOMPRESSED;
        Outcome outcome =
            q32WritePicture(QFile::encodeName(m_strCopy).constData(), document.fnGetImage(),
                            document.fnGetMetadata(), PICTURE_TIFF, fast, &pictureProgress);
        if (!outcome.fnIsDone())
            return outcome;
        m_nState = document.fnGetState();
        m_bOwn = true;
        QFile name(fnWithout(m_strCopy, kPicture) + kName);
        if (name.open(QIODevice::WriteOnly))
            name.write(document.fnGetPath().c_str());
        return outcome;
    });
}

void Recovery::fnDrop() {
    if (!m_pLock)
        return;
    QFile::remove(m_strCopy);
    QFile::remove(fnWithout(m_strCopy, kPicture) + kName);
    m_pLock.reset(); // removes its file
}

bool Recovery::fnAdopt() {
    const QDir folder(m_strFolder);
    for (const QString& file : folder.entryList({QString("*") + kPicture}, QDir::Files)) {
        const QString path = folder.filePath(file);
        if (m_pLock && path == m_strCopy)
            continue;
        auto lock = fnLock(fnWithout(path, kPicture));
        if (!lock)
            continue; // of a program that runs
        fnDrop();
        m_pLock = std::move(lock);
        m_strCopy = path;
        m_bOwn = false;
        return true;
    }
    return false;
}

QString Recovery::fnGetName() const {
    QFile name(fnWithout(m_strCopy, kPicture) + kName);
    if (!m_pLock || !name.open(QIODevice::ReadOnly))
        return {};
    return QFileInfo(QFile::decodeName(name.readAll())).fileName();
}

} // namespace darkroom
