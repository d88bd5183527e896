#include "examples/darkroom/ui/RecoveryFolders.h"

#include "examples/darkroom/ui/Texts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace darkroom {

namespace {

#ifdef Q_OS_UNIX
QString fnGetUser() {
    return QString::number(::geteuid());
}
bool fnIsOwn(const QFileInfo& folder) {
    return folder.ownerId() == ::geteuid();
}
#else
// Folders for temporary files are the user's own there.
QString fnGetUser() {
    return QStringLiteral("user");
}
bool fnIsOwn(const QFileInfo&) {
    return true;
}
#endif

} // namespace

QStringList fnFindRecoveryFolders(const QString& fallback) {
    const CqVMPolicy& policy = *q32GetVMPolicy();
    QStringList folders;
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        if (policy.fnIsDiskEnabled(i))
            folders << QDir(fnGetDiskFolder(i)).filePath("darkroom-recovery-" + fnGetUser());
    folders << fallback;
    return folders;
}

bool fnMakePrivate(const QString& folder) {
    QDir().mkpath(folder);
    const QFileInfo made(folder);
    return made.isDir() && !made.isSymLink() && fnIsOwn(made) &&
           QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace darkroom
