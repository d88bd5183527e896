#include "examples/darkroom/ui/Recovery.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/model/Room.h"
#include "examples/darkroom/ui/RecoveryFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStorageInfo>
#include <QUuid>
#include <span>
#include <system_error>
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
constexpr int kNumberBytes = 8;
constexpr std::uint64_t kReducedBit = std::uint64_t{1} << 32;
constexpr std::uint64_t kPartialBit = std::uint64_t{1} << 33;

QString fnWithout(const QString& path, const char* suffix) {
    return path.chopped(QString(suffix).size());
}

void fnAppend(QByteArray& bytes, std::uint64_t number) {
    for (int i = 0; i < kNumberBytes; ++i)
        bytes.append(static_cast<char>(number >> 8 * i & 0xFF));
}

/// Cuts a number off the front.
std::optional<std::uint64_t> fnTakeNumber(std::span<const unsigned char>& bytes) {
    if (bytes.size() < kNumberBytes)
        return std::nullopt;
    std::uint64_t number = 0;
    for (int i = 0; i < kNumberBytes; ++i)
        number |= std::uint64_t{bytes[static_cast<std::size_t>(i)]} << 8 * i;
    bytes = bytes.subspan(kNumberBytes);
    return number;
}

/// The blocks of metadata, each behind its length, and the other facts as bits of a number. Numbers
/// have the lowest byte first.
QByteArray fnPack(const FileFacts& facts) {
    QByteArray bytes;
    for (const auto block : kBlocks) {
        const std::vector<unsigned char>& one = facts.m_Metadata.*block;
        fnAppend(bytes, one.size());
        bytes.append(reinterpret_cast<const char*>(one.data()), static_cast<qsizetype>(one.size()));
    }
    fnAppend(bytes, facts.m_nExtras | (facts.m_bReduced ? kReducedBit : 0) |
                        (facts.m_bPartial ? kPartialBit : 0));
    return bytes;
}

std::optional<FileFacts> fnUnpack(const QByteArray& packed) {
    FileFacts facts;
    std::span bytes(reinterpret_cast<const unsigned char*>(packed.data()),
                    static_cast<std::size_t>(packed.size()));
    for (const auto block : kBlocks) {
        const auto length = fnTakeNumber(bytes);
        if (!length || *length > bytes.size())
            return std::nullopt;
        const auto one = bytes.first(static_cast<std::size_t>(*length));
        (facts.m_Metadata.*block).assign(one.begin(), one.end());
        bytes = bytes.subspan(one.size());
    }
    const auto bits = fnTakeNumber(bytes);
    if (!bits || !bytes.empty())
        return std::nullopt;
    facts.m_nExtras = static_cast<std::uint32_t>(*bits);
    facts.m_bReduced = (*bits & kReducedBit) != 0;
    facts.m_bPartial = (*bits & kPartialBit) != 0;
    return facts;
}

QByteArray fnReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Pictures are their user's alone. Where the file system has no such rights, the copy is made all
/// the same.
void fnHide(const QString& path) {
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
}

/// Ends a write when it is asked to.
class StopSign : public CqPictureProgress {
public:
    explicit StopSign(const std::atomic<bool>& stopped) : m_bStopped(stopped) {}
    void fnOnProgress(unsigned int, bool& aborted) override { aborted = m_bStopped; }

private:
    const std::atomic<bool>& m_bStopped;
};

/// A lock that another program holds isn't broken, however old it is; that of a killed one is.
std::unique_ptr<QLockFile> fnLock(const QString& stem) {
    auto lock = std::make_unique<QLockFile>(stem + kLock);
    lock->setStaleLockTime(0);
    return lock->tryLock(0) ? std::move(lock) : nullptr;
}

} // namespace

Recovery::Recovery(std::function<QStringList()> folders, std::function<void()> finished)
    : m_Folders(std::move(folders)), m_Finished(std::move(finished)) {}

Recovery::~Recovery() {
    fnDrop();
    fnFinish();
}

bool Recovery::fnIsNeeded(Document& document) const {
    return document.fnHasImage() && document.IsModified() != 0 &&
           (!m_pLock || m_nState != document.fnGetState());
}

std::uint64_t Recovery::fnCountNeeded(const CqImage& image) {
    // The file, the pixels that are written, and what the next edit saves and makes.
    return 4 * fnCountBytes(image.Width, image.Height, image.BitCount);
}

bool Recovery::fnTakeName(const QString& folder, std::uint64_t bytes) {
    if (!fnMakePrivate(folder) ||
        static_cast<std::uint64_t>(QStorageInfo(folder).bytesAvailable()) < bytes)
        return false;
    if (m_pLock)
        return true;
    const QString stem = QDir(folder).filePath(QUuid::createUuid().toString(QUuid::WithoutBraces));
    m_pLock = fnLock(stem);
    m_strCopy = stem + kPicture;
    fnHide(stem + kLock);
    return m_pLock != nullptr;
}

Outcome Recovery::fnTakeName(std::uint64_t bytes) {
    const QStringList folders = m_pLock ? QStringList(QFileInfo(m_strCopy).path()) : m_Folders();
    for (const QString& folder : folders)
        if (fnTakeName(folder, bytes))
            return {};
    return fnFail(MESSAGE_CANNOT_SAVE, QFile::encodeName(folders.front()).toStdString());
}

Outcome Recovery::fnKeep(Document& document, CqProgressDisplay* progress) {
    return fnGuard([&] {
        fnFinish();
        CqImage& image = document.fnGetImage();
        if (fnFindRoom() < fnCountNeeded(image))
            return fnFail(MESSAGE_NO_MEMORY, {});
        Outcome named = fnTakeName(fnCountNeeded(image));
        if (!named.fnIsDone())
            return named;
        auto job = std::make_unique<Job>();
        job->m_Facts = document.fnGetFileFacts();
        job->m_Path = document.fnGetPath().c_str();
        job->m_strCopy = m_strCopy;
        job->m_nState = document.fnGetState();
        if (!fnCopyPicture(image, job->m_Image, progress))
            return fnStop();
        job->m_Image.Title = image.Title;
        m_pJob = std::move(job);
        m_bOwn = true;
        const auto work = [this, &one = *m_pJob] {
            one.m_Outcome = fnGuard([&] { return fnWrite(one); });
            q32::fnTryMemory(m_Finished);
            one.m_bDone = true;
        };
        try {
            m_pJob->m_Thread = std::thread(work);
        } catch (const std::system_error&) {
            work(); // without threads, here
        }
        return Outcome();
    });
}

/// Whatever moment the program ends at, the facts are those of the picture, or missing.
Outcome Recovery::fnWrite(Job& job) {
    const QString stem = fnWithout(job.m_strCopy, kPicture);
    const QString beside = stem + kMetadata;
    const QByteArray facts = fnPack(job.m_Facts);
    const bool there = fnReadAll(beside) == facts;
    if (!there)
        QFile::remove(beside);
    CqPictureOptions fast;
    fast.m_eTiffCompression = PICTURE_UNCOMPRESSED;
    StopSign stop(job.m_bStopped);
    Outcome outcome = q32WritePicture(QFile::encodeName(job.m_strCopy).constData(), job.m_Image,
                                      job.m_Facts.m_Metadata, PICTURE_TIFF, fast, &stop);
    if (!outcome.fnIsDone())
        return outcome;
    fnHide(job.m_strCopy);
    QSaveFile file(beside);
    if (!there &&
        !(file.open(QIODevice::WriteOnly) && file.write(facts) == facts.size() && file.commit()))
        return fnFail(MESSAGE_CANNOT_SAVE, QFile::encodeName(beside).toStdString());
    QFile name(stem + kName);
    if (name.open(QIODevice::WriteOnly))
        name.write(job.m_Path);
    fnHide(beside);
    fnHide(name.fileName());
    return outcome;
}

Outcome Recovery::fnFinish() {
    if (!m_pJob)
        return fnStop();
    if (m_pJob->m_Thread.joinable())
        m_pJob->m_Thread.join();
    const std::unique_ptr<Job> job = std::move(m_pJob);
    if (job->m_bStopped) {
        fnRemoveFiles();
        return fnStop();
    }
    if (job->m_Outcome.fnIsDone())
        m_nState = job->m_nState;
    else
        job->m_Outcome.m_strPath = QFile::encodeName(QFileInfo(job->m_strCopy).path()).constData();
    return job->m_Outcome;
}

void Recovery::fnDrop() {
    if (m_pJob)
        m_pJob->m_bStopped = true; // its end isn't waited for
    else if (m_pLock)
        fnRemoveFiles();
}

void Recovery::fnRemoveFiles() {
    QFile::remove(m_strCopy);
    for (const char* const suffix : {kMetadata, kName})
        QFile::remove(fnWithout(m_strCopy, kPicture) + suffix);
    m_pLock.reset(); // removes its file
    m_bOwn = false;
}

bool Recovery::fnAdopt(const QStringList& except) {
    for (const QString& one : m_Folders()) {
        const QDir folder(one);
        for (const QString& file : folder.entryList({QString("*") + kPicture}, QDir::Files)) {
            const QString path = folder.filePath(file);
            if (except.contains(path) || (m_pLock && path == m_strCopy) ||
                !fnMakePrivate(folder.path()))
                continue;
            auto lock = fnLock(fnWithout(path, kPicture));
            if (!lock)
                continue; // of a program that runs
            fnDrop();
            fnFinish();
            m_pLock = std::move(lock);
            m_strCopy = path;
            m_bOwn = false;
            return true;
        }
    }
    return false;
}

QByteArray Recovery::fnGetFormerPath() const {
    return m_pLock ? fnReadAll(fnWithout(m_strCopy, kPicture) + kName) : QByteArray();
}

std::optional<FileFacts> Recovery::fnGetFacts() const {
    return m_pLock ? fnUnpack(fnReadAll(fnWithout(m_strCopy, kPicture) + kMetadata)) : std::nullopt;
}

} // namespace darkroom
