#include "examples/darkroom/ui/FailureText.h"

#include "examples/darkroom/ui/Texts.h"
#include "plugins/PictureFile.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "q32Base/platform/CqMemoryService.h"

#include <algorithm>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QStorageInfo>
#include <QStringList>

namespace darkroom {

namespace {

QString fnShowPath(const QString& path) {
    return QDir::toNativeSeparators(path);
}

/// Bytes that are left on the disk of a folder.
std::uint64_t fnGetFree(const QString& folder) {
    return static_cast<std::uint64_t>(std::max<qint64>(0, QStorageInfo(folder).bytesAvailable()));
}

/// Whether Open Damaged shows anything of a file: its headers are good, and its format allows it.
bool fnCanShowDamaged(const Outcome& outcome) {
    CqPictureFacts facts;
    CqPictureLimits limits;
    limits.m_bPartial = true;
    return q32DescribePicture(outcome.m_strPath, facts, nullptr, limits).fnIsDone() &&
           (facts.m_eFormat == PICTURE_PNG || facts.m_eFormat == PICTURE_JPEG);
}

QString fnDescribeUnread(const QFileInfo& file) {
    const QString path = fnShowPath(file.filePath());
    if (!file.exists())
        return QObject::tr("%1 does not exist.").arg(path);
    if (file.isDir())
        return QObject::tr("%1 is a folder.").arg(path);
    if (!file.isReadable())
        return QObject::tr("%1 may not be read: you have no permission.").arg(path);
    return QObject::tr("%1 can't be read.").arg(path);
}

QString fnDescribeUnsaved(const QFileInfo& file, std::uint64_t bytes) {
    const QString name = file.fileName();
    const QFileInfo folder(file.absolutePath());
    const QString place = fnShowPath(folder.filePath());
    if (!folder.isDir())
        return QObject::tr("%1 isn't saved: there is no folder %2.").arg(name, place);
    if (file.isDir())
        return QObject::tr("%1 isn't saved: that is the name of a folder.").arg(name);
    if (QStorageInfo(folder.filePath()).isReadOnly() || !folder.isWritable())
        return QObject::tr("%1 isn't saved: you may not write in %2.").arg(name, place);
    // The user may own the folder, or everything, and still want this file to stay as it is.
    constexpr auto kWriters = QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther;
    if (file.exists() && !(file.isWritable() && file.permissions() & kWriters))
        return QObject::tr("%1 isn't saved: the file in %2 is write-protected.").arg(name, place);
    const std::uint64_t free = fnGetFree(folder.filePath());
    if (free < bytes)
        return QObject::tr("%1 isn't saved: the disk of %2 has only %3 left.")
            .arg(name, place, fnFormatSize(free));
    return QObject::tr("%1 can't be saved in %2.").arg(name, place);
}

} // namespace

QString fnListFormats(bool writing) {
    QStringList formats;
    for (const CqPictureFormat& format : q32GetPictureFormats())
        if (!writing || format.m_bCanWrite)
            formats << QObject::tr("%1 (.%2)")
                           .arg(QString::fromLatin1(format.m_pszName),
                                QString::fromLatin1(format.m_pszExtensions).replace(' ', ", ."));
    return formats.join(", ");
}

QString fnDescribeFull() {
    const CqVMPolicy& policy = *q32GetVMPolicy();
    QStringList lines{
        QObject::tr("There is no room left for pictures."),
        QString(),
        policy.fnGetRamBound() == kNoMemoryLimit
            ? QObject::tr("Memory: %1 in use").arg(fnFormatSize(policy.fnGetRamBytes()))
            : QObject::tr("Memory: %1 of %2 in use")
                  .arg(fnFormatSize(policy.fnGetRamBytes()), fnFormatSize(policy.fnGetRamBound())),
    };
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i) {
        if (!policy.fnIsDiskEnabled(i))
            continue;
        ULARGE_INTEGER free{};
        policy.fnGetDiskFreeSpace(i, free);
        lines << QObject::tr("Scratch disk %1: %2 free")
                     .arg(fnShowPath(fnGetDiskFolder(i)), fnFormatSize(free.QuadPart));
    }
    if (lines.size() == 3)
        lines << QObject::tr("No scratch disk is in use");
    lines << QString()
          << QObject::tr("Edit > Preferences sets the share of the memory and the scratch disks.");
    return lines.join('\n');
}

QString fnDescribeFailure(const Outcome& outcome, std::uint64_t bytes) {
    const QFileInfo file(QFile::decodeName(static_cast<const char*>(outcome.m_strPath)));
    const QString path = fnShowPath(file.filePath());
    if (const char* const limit = q32GetPictureLimitText(outcome.m_eLimit))
        return QObject::tr("%1 isn't opened. %2").arg(path, QObject::tr(limit));
    switch (outcome.m_nMsgId) {
    case MESSAGE_NONE:
        return {};
    case MESSAGE_NO_MEMORY:
        return fnDescribeFull();
    case MESSAGE_CANNOT_OPEN:
    case MESSAGE_CANNOT_READ:
        return fnDescribeUnread(file);
    case MESSAGE_CANNOT_SAVE:
        return fnDescribeUnsaved(file, bytes);
    case MESSAGE_CORRUPTED:
        return fnCanShowDamaged(outcome)
                   ? QObject::tr("%1 is damaged or incomplete. File > Open Damaged shows as much "
                                 "of it as there is.")
                         .arg(path)
                   : QObject::tr("%1 is damaged or incomplete. No part of it can be shown.")
                         .arg(path);
    case MESSAGE_IN_USE:
        return QObject::tr("%1 is in use by another program.").arg(path);
    case MESSAGE_EMPTY:
        return QObject::tr("%1 is empty.").arg(path);
    case MESSAGE_UNSUPPORTED:
        return QObject::tr("%1 is in no format, or in a variant of one, that can be used here. "
                           "These can: %2; and sounds in WAV (.wav).")
            .arg(path, fnListFormats(false));
    default:
        return QObject::tr("%1: failure %2").arg(path).arg(outcome.m_nMsgId);
    }
}

QString fnDescribeUnkept(const Outcome& outcome, std::uint64_t needed) {
    if (outcome.m_nMsgId == MESSAGE_NO_MEMORY)
        return QObject::tr("memory and scratch disks have too little room");
    const QFileInfo folder(QFile::decodeName(static_cast<const char*>(outcome.m_strPath)));
    const QString place = fnShowPath(folder.filePath());
    const std::uint64_t free = fnGetFree(folder.filePath());
    return folder.isDir() && free < needed
               ? QObject::tr("the disk of %1 has only %2 left; %3 are needed")
                     .arg(place, fnFormatSize(free), fnFormatSize(needed))
               : QObject::tr("%1 can't be written").arg(place);
}

void fnShowFailure(const Outcome& outcome, std::uint64_t bytes) {
    const bool shown = q32::fnTryMemory([&] {
        if (const QString text = fnDescribeFailure(outcome, bytes); !text.isEmpty())
            q32ShowMsgStr(text.toLocal8Bit().constData(), MB_OK | MB_ICONEXCLAMATION);
    });
    if (!shown)
        q32ShowMsg(outcome.m_nMsgId, nullptr, outcome.m_strPath, nullptr, 0);
}

} // namespace darkroom
