#include "tests/darkroom/DarkroomWorld.h"

#include "platforms/posix/posix.h"
#include "platforms/qt/qt.h"
#include "q32Base/module/Module.h"
#include "tests/darkroom/PictureTools.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QWindow>
#include <sys/eventfd.h>
#include <unistd.h>

void DarkroomWindow::SetUp() {
    ASSERT_TRUE(m_Folder.isValid());
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    fnStart();
}

void DarkroomWindow::TearDown() {
    m_Dialogs.fnEnd();
    fnStop();
}

void DarkroomWindow::fnStart() {
    CqPosixOptions options;
    options.m_szConfigDirectory = m_Folder.filePath("config").toStdString();
    options.m_szTempDirectory = m_Folder.path().toStdString();
    m_pMachine = q32HeadlessWorld();
    m_pMachine->m_pMixers->fnAddDevice(CqHeadlessMixers::fnMakeUsualDevice());
    options.m_Others = m_pMachine->fnPlatform();
    CqPlatform platform = q32QtPlatform(m_pWindows = q32QtWindows(), {.m_Posix = options});
    // Real boxes would wait for a user.
    platform.m_pMessages = m_pMachine->m_pMessages;
    m_pKeyboard = platform.m_pKeyboard;
    platform.m_pKeyboard = std::make_shared<WatchedKeyboard>(platform.m_pKeyboard, m_OnLook);
    ASSERT_TRUE(q32Attach(platform));
    darkroom::HostSetup setup;
    setup.m_strSettings = m_Folder.filePath("darkroom.ini");
    setup.m_nMixerDescriptor = m_nMixerDescriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    ASSERT_GE(m_nMixerDescriptor, 0);
    setup.m_PumpMixers = [this] {
        ++m_nPumps;
        eventfd_t count = 0;
        EXPECT_EQ(::eventfd_read(m_nMixerDescriptor, &count), 0) << "nothing to tell";
        m_pMachine->m_pMixers->fnPump();
    };
    m_pWindow = std::make_unique<darkroom::MainWindow>(setup);
    m_pWindow->resize(900, 640);
    m_pFrame = std::make_unique<CqQtWnd>(m_pWindow.get());
    m_pWindows->fnSetMainWnd(m_pFrame.get());
    ASSERT_TRUE(fnShow(*m_pWindow));
}

void DarkroomWindow::fnStop() {
    if (!m_pWindow)
        return;
    m_pWindow->fnGetDocument().SetModifiedFlag(false); // nobody answers the question
    m_pWindow->close();
    m_pWindows->fnSetMainWnd(nullptr);
    m_pFrame.reset();
    m_pWindow.reset();
    ::close(m_nMixerDescriptor);
    m_pKeyboard.reset();
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamUsed(), 0u);
    q32Detach();
}

void DarkroomWindow::fnRestart() {
    fnStop();
    fnStart();
}

QString DarkroomWindow::fnMakePicture(const QString& name, unsigned int width,
                                      unsigned int height) const {
    CqImage image;
    fnFillNoise(image, width, height, 24, width);
    const QString path = fnPath(name);
    const QByteArray file = QFile::encodeName(path);
    const CqPictureFormat* const format = q32FindPictureFormat(file.constData());
    EXPECT_TRUE(q32WritePicture(file.constData(), image, format->m_eFormat).fnIsDone());
    return path;
}

QAction& DarkroomWindow::fnAction(const char* id) const {
    auto* const action = m_pWindow->findChild<QAction*>(id);
    if (!action)
        qFatal("no action %s", id);
    return *action;
}

void DarkroomWindow::fnDo(const char* id, const std::function<void(QDialog&)>& use) {
    if (use)
        fnInDialog(use);
    EXPECT_TRUE(fnAction(id).isEnabled()) << id;
    fnAction(id).trigger();
    QCoreApplication::processEvents();
}

void DarkroomWindow::fnInDialog(const std::function<void(QDialog&)>& use) {
    m_Dialogs.fnUse(use);
}

void DarkroomWindow::fnAccept(QDialog& dialog) {
    auto* const buttons = dialog.findChild<QDialogButtonBox*>();
    QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
}

void DarkroomWindow::fnAcceptNext() {
    fnInDialog([](QDialog& dialog) { fnAccept(dialog); });
}

void DarkroomWindow::fnAnswer(QMessageBox::StandardButton button,
                              const std::function<void()>& before) {
    fnInDialog([button, before](QDialog& dialog) {
        auto* const box = qobject_cast<QMessageBox*>(&dialog);
        ASSERT_TRUE(box) << "no question";
        if (before)
            before();
        QTest::mouseClick(box->button(button), Qt::LeftButton);
    });
}

void DarkroomWindow::fnDrag(const QPoint& from, const QPoint& to, Qt::KeyboardModifiers modifiers) {
    QWidget* const view = m_pWindow->fnGetView().viewport();
    QTest::mousePress(view, Qt::LeftButton, modifiers, from);
    QTest::mouseMove(view, (from + to) / 2);
    QTest::mouseMove(view, to);
    QTest::mouseRelease(view, Qt::LeftButton, modifiers, to);
}

std::unique_ptr<QDropEvent> DarkroomWindow::fnDrop(const QMimeData& data) {
    QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(m_pWindow.get(), &enter);
    auto drop = std::make_unique<QDropEvent>(QPointF(50, 50), Qt::CopyAction, &data, Qt::LeftButton,
                                             Qt::KeyboardModifiers());
    drop->ignore();
    if (enter.isAccepted())
        QApplication::sendEvent(m_pWindow.get(), drop.get());
    return drop;
}

std::vector<std::string> DarkroomWindow::fnTakeBoxes() {
    std::vector<std::string> texts;
    for (const CqHeadlessBox& box : m_pMachine->m_pMessages->fnGetBoxes())
        texts.push_back(box.m_szText);
    m_pMachine->m_pMessages->fnClearBoxes();
    return texts;
}

void DarkroomWindow::fnNotifyMixers() const {
    ASSERT_EQ(::eventfd_write(m_nMixerDescriptor, 1), 0);
}

void DarkroomWindow::fnType(QDialog& dialog, const QString& path) {
    auto* const name = dialog.findChild<QLineEdit*>("fileNameEdit");
    ASSERT_TRUE(name);
    name->setCompleter(nullptr); // its list appears when the folder has been read, and would take
                                 // Return
    QApplication::setActiveWindow(&dialog);
    name->setFocus(); // a name without focus follows the list of files
    ASSERT_TRUE(fnWaitFor([&] { return name->hasFocus(); }));
    name->selectAll(); // a proposed name
    QTest::keyClicks(name, path);
    QTest::keyClick(name, Qt::Key_Return);
}

void DarkroomWindow::fnPostKey(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
        fnPost(type, key, modifiers);
}

void DarkroomWindow::fnPost(QEvent::Type type, Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QCoreApplication::postEvent(m_pWindow->windowHandle(), new QKeyEvent(type, key, modifiers));
}

void DarkroomWindow::fnHoldKey(Qt::Key key, int code) {
    constexpr int kPatience = 10000;
    QElapsedTimer timer;
    timer.start();
    do {
        if (timer.hasExpired(kPatience)) {
            ADD_FAILURE() << "a key that is held isn't seen";
            return;
        }
        // Repeated, because keys are lost if a window manager reports the focus late.
        fnPost(QEvent::KeyPress, key, {});
    } while (!m_pKeyboard->fnIsKeyDownNow(code));
}

void DarkroomWindow::fnReleaseKey(Qt::Key key) {
    fnPost(QEvent::KeyRelease, key, {});
    QCoreApplication::processEvents();
}

void DarkroomWindow::fnPress(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    // Without a window manager the window doesn't regain the focus after a dialog.
    QApplication::setActiveWindow(m_pWindow.get());
    QTest::keyClick(m_pWindow.get(), key, modifiers);
    QCoreApplication::processEvents();
}
