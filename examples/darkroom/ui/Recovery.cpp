#include "examples/darkroom/ui/Recovery.h"

#include "examples/darkroom/model/Progress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUuid>
#include <utility>

namespace darkroom {

namespace {

constexpr char kPicture[] = ".tif";
constexpr char kLock[] = ".lock";
constexpr char kName[] = ".name";
constexpr char kMetadata[] = ".metadata";

constexpr std::vector<unsigned char> CqPictureMetadata::*kBlocks[] = {
    &CqPictureMetadata::m_Exif, &CqPictureMetadata::m_Xmp, &CqPictureMetadata::m_Iptc,
    &CqPictureMetadata::m_Profile};
constexpr int kLengthBytes = 8;

QString fnWithout(const QString& path, const char* suffix) {
    return path.chopped(QString(suffix).size());
}

/// The blocks, each behind its length, the lowest byte first.
QByteArray fnPack(const CqPictureMetadata& metadata) {
    QByteArray bytes;
    for (const auto block : kBlocks) {
        const std::vector<unsigned char>& one = metadata.*block;
        for (int i = 0; i < kLengthBytes; ++i)
            bytes.append(static_cast<char>(std::uint64_t{one.size()} >> 8 * i & 0xFF));
        bytes.append(reinterpret_cast<const char*>(one.data()), static_cast<qsizetype>(one.size()));
    }
    return bytes;
}

std::optional<CqPictureMetadata> fnUnpack(const QByteArray& bytes) {
    CqPictureMetadata metadata;
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    auto left = static_cast<std::uint64_t>(bytes.size());
    for (const auto block : kBlocks) {
        if (left < kLengthBytes)
            return std::nullopt;
        std::uint64_t length = 0;
        for (int i = 0; i < kLengthBytes; ++i)
            length |= std::uint64_t{at[i]} << 8 * i;
        at += kLengthBytes;
        left -= kLengthBytes;
        if (length > left)
            return std::nullopt;
        (metadata.*block).assign(at, at + length);
        at += length;
        left -= length;
    }
    return left == 0 ? std::optional(std::move(metadata)) : std::nullopt;
}

QByteArray fnReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Pictures are their user's alone. Where the file system has no such rights, the copy is made all
/// the same.
void fnHide(const QString& path) {
    constexpr auto kOwner = QFile::ReadOwner | QFile::WriteOwner;
    QFile::setPermissions(path, QFileInfo(path).isDir() ? kOwner | QFile::ExeOwner : kOwner);
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
    fnHide(m_strFolder); // ahead of the first file in it
    const QString stem =
        QDir(m_strFolder).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces));
    m_pLock = fnLock(stem);
    m_strCopy = stem + kPicture;
    fnHide(stem + kLock);
    return m_pLock != nullptr;
}

Outcome Recovery::fnKeep(Document& document, CqProgressDisplay* progress) {
    if (!fnTakeName())
        return fnFail(MESSAGE_CANNOT_SAVE, m_strFolder.toStdString());
    return fnGuard([&] {
        // Whatever moment the program ends at, the metadata is that of the picture, or missing.
        const QString beside = fnGetFile(kMetadata);
        const QByteArray metadata = fnPack(document.fnGetMetadata());
        const bool there = fnReadAll(beside) == metadata;
        if (!there)
            QFile::remove(beside);
        PictureProgress pictureProgress(progress);
        CqPictureOptions fast;
        fast.m_eTiffCompression = PICTURE_UNCOMPRESSED;
        Outcome outcome =
            q32WritePicture(QFile::encodeName(m_strCopy).constData(), document.fnGetImage(),
                            document.fnGetMetadata(), PICTURE_TIFF, fast, &pictureProgress);
        if (!outcome.fnIsDone())
            return outcome;
        fnHide(m_strCopy);
        m_bOwn = true;
        QSaveFile file(beside);
        if (!there && !(file.open(QIODevice::WriteOnly) &&
                        file.write(metadata) == metadata.size() && file.commit()))
            return fnFail(MESSAGE_CANNOT_SAVE, beside.toStdString());
        m_nState = document.fnGetState();
        QFile name(fnGetFile(kName));
        if (name.open(QIODevice::WriteOnly))
            name.write(document.fnGetPath().c_str());
        fnHide(beside);
        fnHide(name.fileName());
        return outcome;
    });
}

void Recovery::fnDrop() {
    if (!m_pLock)
        return;
    QFile::remove(m_strCopy);
    QFile::remove(fnGetFile(kMetadata));
    QFile::remove(fnGetFile(kName));
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
    return m_pLock ? QFileInfo(QFile::decodeName(fnReadAll(fnGetFile(kName)))).fileName()
                   : QString();
}

std::optional<CqPictureMetadata> Recovery::fnGetMetadata() const {
    return m_pLock ? fnUnpack(fnReadAll(fnGetFile(kMetadata))) : std::nullopt;
}

/// A file beside the copy.
QString Recovery::fnGetFile(const char* suffix) const {
    return fnWithout(m_strCopy, kPicture) + suffix;
}

} // namespace darkroom
