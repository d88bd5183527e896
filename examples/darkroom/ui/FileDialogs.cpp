#include "examples/darkroom/ui/FileDialogs.h"

#include "plugins/PictureFile.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMap>
#include <QStringList>

namespace darkroom {

namespace {

constexpr char kUsualSuffix[] = "png";

/// The filters of a file dialog, and the extension that each adds to a name without one.
struct Filters {
    explicit Filters(bool writing) {
        QStringList all;
        for (const CqPictureFormat& format : q32GetPictureFormats()) {
            if (writing && !format.m_bCanWrite)
                continue;
            const QStringList extensions = QString::fromLatin1(format.m_pszExtensions).split(' ');
            const QString patterns = "*." + extensions.join(" *.");
            const QString filter =
                QString("%1 (%2)").arg(QString::fromLatin1(format.m_pszName), patterns);
            all << patterns;
            m_Texts << filter;
            m_Suffixes[filter] = extensions.front();
        }
        m_Texts.prepend(QObject::tr("Pictures (%1)").arg(all.join(' ')));
    }

    QStringList m_Texts;
    QMap<QString, QString> m_Suffixes;
};

/// The extension that keeps a picture's format, if that format can be written.
QString fnGetSuffix(const QString& path) {
    const CqPictureFormat* const format = q32FindPictureFormat(QFile::encodeName(path).constData());
    return format && format->m_bCanWrite ? QFileInfo(path).suffix()
                                         : QString::fromLatin1(kUsualSuffix);
}

} // namespace

QString fnAskPictureToOpen(QWidget* parent, const QString& title) {
    return QFileDialog::getOpenFileName(parent, title, {}, Filters(false).m_Texts.join(";;"));
}

QString fnAskPictureToSave(QWidget* parent, const QString& present) {
    const Filters filters(true);
    const QFileInfo file(present);
    QFileDialog dialog(parent, QObject::tr("Save As"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(filters.m_Texts);
    dialog.setDefaultSuffix(fnGetSuffix(present));
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&](const QString& filter) {
        dialog.setDefaultSuffix(filters.m_Suffixes.value(filter, fnGetSuffix(present)));
    });
    if (!present.isEmpty()) {
        dialog.setDirectory(file.absolutePath());
        dialog.selectFile(file.fileName());
    }
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

} // namespace darkroom
