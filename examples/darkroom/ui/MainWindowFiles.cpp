// Opening and saving.
#include "examples/darkroom/model/FileExtras.h"
#include "examples/darkroom/ui/FailureText.h"
#include "examples/darkroom/ui/FileDialogs.h"
#include "examples/darkroom/ui/MainWindow.h"
#include "examples/darkroom/ui/NewDialog.h"
#include "examples/darkroom/ui/RecentFiles.h"
#include "examples/darkroom/ui/SaveOptionsDialog.h"
#include "q32Base/messages/ReportMemory.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStatusBar>
#include <QUrl>
#include <utility>

namespace darkroom {

namespace {

/// The first file of a drag, since the window shows one picture; empty for anything else.
QString fnFindFile(const QMimeData& data) {
    for (const QUrl& url : data.urls())
        if (url.isLocalFile())
            return url.toLocalFile();
    return {};
}

/// What a set of FileExtra is called.
QStringList fnNameExtras(std::uint32_t extras) {
    const std::pair<FileExtra, QString> names[] = {
        {EXTRA_PAGES, QObject::tr("further pages or frames")},
        {EXTRA_DEPTH, QObject::tr("16 bits a channel; the picture has 8")},
        {EXTRA_CHANNELS, QObject::tr("ink colors or further channels")},
        {EXTRA_PROFILE, QObject::tr("a color profile (ICC)")},
        {EXTRA_CAMERA, QObject::tr("camera data (EXIF)")},
        {EXTRA_EDITING, QObject::tr("editing data (XMP)")},
        {EXTRA_PRESS, QObject::tr("captions and rights (IPTC)")},
        {EXTRA_NOTES, QObject::tr("notes or other metadata")},
    };
    QStringList list;
    for (const auto& [extra, name] : names)
        if (extras & extra)
            list << name;
    if (list.isEmpty())
        list << QObject::tr("further pages or frames, finer or other channels, a color profile, "
                            "or notes");
    return list;
}

} // namespace

void MainWindow::fnNew() {
    if (!fnMayLeave())
        return;
    NewDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    if (fnRun(tr("New picture"), [&](CqProgressDisplay* progress) {
            return m_Document.fnNew(dialog.fnGetWidth(), dialog.fnGetHeight(), dialog.fnGetColor(),
                                    progress);
        }))
        m_pView->fnSetFit(true);
}

void MainWindow::fnAskOpen() {
    if (!fnMayLeave())
        return;
    const QString path = fnAskPictureToOpen(this, tr("Open"));
    if (!path.isEmpty())
        fnOpen(path);
}

void MainWindow::fnAskOpenDamaged() {
    if (!fnMayLeave())
        return;
    const QString path = fnAskPictureToOpen(this, tr("Open Damaged"));
    if (!path.isEmpty())
        fnOpen(path, true);
}

void MainWindow::fnAskSaveOptions() {
    fnMayWrite(std::nullopt);
}

bool MainWindow::fnMayWrite(std::optional<PICTURE_FORMAT> format) {
    if (format && !SaveOptionsDialog::fnHasAny(*format))
        return true;
    SaveOptionsDialog dialog(fnReadSaveOptions(m_Settings), format, this);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    fnKeepSaveOptions(m_Settings, dialog.fnGetOptions());
    return true;
}

QString MainWindow::fnGetOwnPath() const {
    return QFile::decodeName(m_Document.fnGetPath().c_str());
}

QString MainWindow::fnGetName() const {
    const QString name = QFileInfo(fnGetProposedPath()).fileName();
    if (name.isEmpty())
        return tr("Untitled");
    return fnGetOwnPath().isEmpty() ? tr("%1 (recovered)").arg(name) : name;
}

MainWindow::FileStamp MainWindow::fnStamp(const QString& path) {
    const QFileInfo file(path);
    return {file.size(), file.lastModified()};
}

QString MainWindow::fnGetProposedPath() const {
    const QString path = fnGetOwnPath();
    return path.isEmpty() ? QFile::decodeName(m_Document.fnGetFormerPath().c_str()) : path;
}

void MainWindow::fnSave() {
    const QString path = fnGetOwnPath();
    const char* const file = m_Document.fnGetPath().c_str();
    if (path.isEmpty() || !m_Document.fnFindFormat(file) || !m_Document.fnKeepsAll(file))
        return fnAskSaveAs();
    const QStringList losses = fnListLosses(path, true);
    if (losses.isEmpty())
        return void(fnSaveAs(path));
    QMessageBox box(QMessageBox::Warning, tr("Darkroom"),
                    tr("Saving over %1 would lose what that file holds and this picture does not:")
                            .arg(fnGetName()) +
                        fnMakeList(losses),
                    QMessageBox::Cancel, this);
    QPushButton* const other = box.addButton(tr("Save &As…"), QMessageBox::AcceptRole);
    const QPushButton* const replace = box.addButton(tr("&Replace"), QMessageBox::DestructiveRole);
    box.setDefaultButton(other);
    box.exec();
    if (box.clickedButton() == other)
        fnChooseName(false);
    else if (box.clickedButton() == replace)
        fnSaveAs(path);
}

void MainWindow::fnAskSaveAs() {
    fnChooseName(true);
}

void MainWindow::fnChooseName(bool asksForExtras) {
    const QString path = fnAskPictureToSave(this, fnGetProposedPath());
    if (path.isEmpty() || !fnMayLose(path, asksForExtras || path == fnGetOwnPath()))
        return;
    const CqPictureFormat* const format =
        m_Document.fnFindFormat(QFile::encodeName(path).constData());
    if (!format || fnMayWrite(format->m_eFormat)) // an unknown one is reported by the attempt
        fnSaveAs(path);
}

QString MainWindow::fnMakeList(const QStringList& losses) {
    return "\n\n" + QString(QChar(0x2022)) + ' ' + losses.join(QString("\n") + QChar(0x2022) + ' ');
}

QStringList MainWindow::fnListLosses(const QString& path, bool extras) const {
    const QByteArray file = QFile::encodeName(path);
    const CqPictureFormat* const format = m_Document.fnFindFormat(file.constData());
    const CqImage& image = m_Document.fnGetImage();
    QStringList losses;
    if (!format)
        return losses; // reported by the attempt
    if (!m_Document.fnKeepsAll(file.constData()))
        losses << tr("the transparency");
    const bool titled = format->m_eFormat == PICTURE_PNG || format->m_eFormat == PICTURE_TIFF;
    if (!titled && !image.Title.IsEmpty() && path != fnGetOwnPath())
        losses << tr("the title");
    if (const std::uint32_t lost = m_Document.fnFindLostMetadata(file.constData()); lost != 0)
        losses << fnNameExtras(lost);
    if (path == fnGetOwnPath() && QFileInfo::exists(path) && fnStamp(path) != m_Stamp)
        losses << tr("what another program has changed in it in the meantime");
    if (extras && m_Document.fnIsPartial())
        losses << tr("what may still be rescued from the damaged file");
    else if (extras && m_Document.fnIsReduced())
        losses << fnNameExtras(m_Document.fnGetExtras());
    return losses;
}

bool MainWindow::fnMayLose(const QString& path, bool extras) {
    const QStringList losses = fnListLosses(path, extras);
    if (losses.isEmpty())
        return true;
    const CqPictureFormat* const format =
        m_Document.fnFindFormat(QFile::encodeName(path).constData());
    const QString name = QFileInfo(path).fileName();
    const QString text =
        m_Document.fnKeepsAll(QFile::encodeName(path).constData())
            ? tr("Save %1 (%2) without this?")
            : tr("Save a copy in %1 (%2) without this? The picture itself stays unsaved.");
    return QMessageBox::question(this, tr("Darkroom"),
                                 text.arg(name, QString::fromLatin1(format->m_pszName)) +
                                     fnMakeList(losses),
                                 QMessageBox::Save | QMessageBox::Cancel) == QMessageBox::Save;
}

bool MainWindow::fnSaveAs(const QString& path) {
    const QByteArray file = QFile::encodeName(path);
    const QString name = QFileInfo(path).fileName();
    if (!m_Document.fnFindFormat(file.constData())) {
        const QString text = tr("%1 isn't saved: its name ends in none of the formats that can be "
                                "written: %2.")
                                 .arg(name, fnListFormats(true));
        q32ShowMsgStr(text.toLocal8Bit().constData(), MB_OK | MB_ICONEXCLAMATION);
        return false;
    }
    const CqPictureOptions options = fnReadSaveOptions(m_Settings);
    const bool done = fnRun(tr("Saving %1").arg(name), [&](CqProgressDisplay* progress) {
        return m_Document.fnSave(file.toStdString(), progress, options);
    });
    if (done)
        m_pRecent->fnAdd(path);
    if (done && path == fnGetOwnPath())
        m_Stamp = fnStamp(path);
    if (done && !m_Document.fnKeepsAll(file.constData()))
        statusBar()->showMessage(tr("A copy without transparency was saved"), kMessageMs);
    return done;
}

bool MainWindow::fnMayLeave() {
    if (m_bBusy || m_bAsking)
        return false;
    if (m_Document.IsModified() == 0)
        return true;
    const auto answer = QMessageBox::question(
        this, tr("Darkroom"), tr("%1 has changes that aren't saved. Save them?").arg(fnGetName()),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    if (answer == QMessageBox::Save) {
        fnSave();
        return m_Document.IsModified() == 0;
    }
    return answer == QMessageBox::Discard;
}

bool MainWindow::fnOpen(const QString& path, bool partial) {
    const QString full = QFileInfo(path).absoluteFilePath(); // also for the recent files
    const bool done =
        fnRun(tr("Opening %1").arg(QFileInfo(full).fileName()), [&](CqProgressDisplay* progress) {
            return m_Document.fnOpen(QFile::encodeName(full).toStdString(), progress, partial);
        });
    if (done && m_Document.fnIsPartial())
        statusBar()->showMessage(tr("The file is damaged: this is as far as it goes"), kMessageMs);
    else if (done && m_Document.fnIsReduced())
        statusBar()->showMessage(
            tr("The file also holds: %1").arg(fnNameExtras(m_Document.fnGetExtras()).join(", ")),
            kMessageMs);
    if (done) {
        m_Stamp = fnStamp(full);
        m_pRecent->fnAdd(full);
        m_pView->fnSetFit(true);
    } else if (!QFileInfo::exists(full)) {
        m_pRecent->fnRemove(full);
    }
    return done;
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!m_bBusy && !fnFindFile(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    const QString path = fnFindFile(*event->mimeData());
    if (path.isEmpty() || m_bBusy)
        return;
    event->acceptProposedAction();
    fnOpenSoon(path); // the program that is the drag's source waits until this returns
}

void MainWindow::fnOpenSoon(const QString& path) {
    if (m_bBusy)
        return;
    m_strAsked = path;
    QMetaObject::invokeMethod(this, &MainWindow::fnOpenAsked, Qt::QueuedConnection);
}

void MainWindow::fnOpenAsked() {
    if (m_bBusy)
        return; // called again at the end of the task
    const QString path = std::exchange(m_strAsked, {});
    if (path.isEmpty())
        return;
    q32::fnReportMemory([&] {
        // A dialog opened in the meantime works on the present picture.
        if (QApplication::activeModalWidget())
            statusBar()->showMessage(
                tr("%1 isn't opened: close the dialog first").arg(QFileInfo(path).fileName()),
                kMessageMs);
        else if (fnMayLeave())
            fnOpen(path);
    });
}

} // namespace darkroom
