#include "examples/darkroom/ui/RecentFiles.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QMenu>
#include <QSettings>

namespace darkroom {

namespace {
const QString kKey = QStringLiteral("recent");
}

RecentFiles::RecentFiles(QSettings& settings, QMenu& menu, QObject* parent)
    : QObject(parent), m_Settings(settings), m_Menu(menu) {
    fnFill();
}

QStringList RecentFiles::fnRead() const {
    return m_Settings.value(kKey).toStringList();
}

void RecentFiles::fnWrite(const QStringList& files) {
    m_Settings.setValue(kKey, files.mid(0, kMax));
    fnFill();
}

void RecentFiles::fnAdd(const QString& path) {
    const QString full = QFileInfo(path).absoluteFilePath();
    QStringList files = fnRead();
    files.removeAll(full);
    files.prepend(full);
    fnWrite(files);
}

void RecentFiles::fnRemove(const QString& path) {
    QStringList files = fnRead();
    files.removeAll(QFileInfo(path).absoluteFilePath());
    fnWrite(files);
}

void RecentFiles::fnFill() {
    m_Menu.clear();
    const QStringList files = fnRead();
    QMap<QString, int> names;
    for (const QString& file : files)
        ++names[QFileInfo(file).fileName()];
    for (const QString& file : files) {
        const QFileInfo info(file);
        QString text = info.fileName();
        if (names[text] > 1)
            text = tr("%1 in %2").arg(text, QDir::toNativeSeparators(info.absolutePath()));
        QAction* const action = m_Menu.addAction(text.replace('&', "&&"));
        action->setToolTip(file);
        connect(action, &QAction::triggered, this, [this, file] { Q_EMIT chosen(file); });
    }
    m_Menu.setEnabled(!files.isEmpty());
    m_Menu.setToolTipsVisible(true);
}

} // namespace darkroom
