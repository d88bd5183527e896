#include "platforms/qt/CqQtCanvas.h"
#include "platforms/qt/qt.h"
#include "tests/contract/ContractBackEnd.h"
#include "tests/platforms/qt/QtTestTools.h"

#include <cerrno>
#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPlainTextEdit>
#include <QPointer>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTimer>
#include <utility>

namespace {

ContractPicture fnGrab(QWidget& widget) {
    const QImage image = widget.grab().toImage();
    ContractPicture picture{image.width(), image.height(), {}};
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            picture.m_Pixels.push_back(image.pixel(x, y) & 0x00FFFFFFu);
    return picture;
}

/// A window in which the library draws on a canvas or over another widget.
class Window final : public ContractWindow {
public:
    explicit Window(QWidget* widget) : m_pWidget(widget), m_Wnd(widget) {
        widget->setWindowFlag(Qt::FramelessWindowHint);
        widget->resize(kWidth, kHeight);
        EXPECT_TRUE(fnShow(*widget));
    }
    ~Window() override { delete m_pWidget; }
    CWnd& fnGetWnd() override { return m_Wnd; }
    ContractPicture fnGetPicture() override { return fnGrab(*m_pWidget); }
    void fnEnd() override { delete m_pWidget; }

private:
    QPointer<QWidget> m_pWidget;
    CqQtWnd m_Wnd;
};

class Boxes final : public ContractBoxes {
public:
    void fnAnswer(int button, std::function<void(const ContractBox&)> look) override {
        auto* timer = new QTimer(&m_Owner);
        QObject::connect(timer, &QTimer::timeout, &m_Owner, [=, this] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || !box->isVisible() || m_pLast == box)
                return;
            timer->stop();
            m_pLast = box;
            look(fnRead(*box));
            for (QAbstractButton* offered : box->buttons())
                if (fnGetAnswer(*box, *offered) == button)
                    offered->click();
        });
        timer->start(1);
    }

private:
    static int fnGetAnswer(const QMessageBox& box, QAbstractButton& button) {
        switch (box.standardButton(&button)) {
        case QMessageBox::Ok:
            return IDOK;
        case QMessageBox::Cancel:
            return IDCANCEL;
        case QMessageBox::Yes:
            return IDYES;
        case QMessageBox::No:
            return IDNO;
        default:
            return 0;
        }
    }
    static ContractBox fnRead(const QMessageBox& box) {
        static const std::pair<QMessageBox::Icon, UINT> kIcons[] = {
            {QMessageBox::Critical, MB_ICONHAND},
            {QMessageBox::Question, MB_ICONQUESTION},
            {QMessageBox::Warning, MB_ICONEXCLAMATION},
            {QMessageBox::Information, MB_ICONASTERISK}};
        ContractBox seen;
        seen.m_szText = box.text().toStdString();
        seen.m_szCaption = box.windowTitle().toStdString();
        for (QAbstractButton* button : box.buttons())
            seen.m_Buttons.insert(fnGetAnswer(box, *button));
        for (const auto& [icon, bits] : kIcons)
            if (box.icon() == icon)
                seen.m_nIcon = bits;
        return seen;
    }

    QObject m_Owner;
    QPointer<QMessageBox> m_pLast; ///< the one being answered
};

class Keys final : public ContractKeys {
public:
    void fnPress(int key) override { fnPost(QEvent::KeyPress, key); }
    void fnRelease(int key) override { fnPost(QEvent::KeyRelease, key); }
    void fnClick(int number) override {
        fnOpen();
        const QPointF at(number, 5);
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            QCoreApplication::postEvent(
                m_Window.windowHandle(),
                new QMouseEvent(type, at, m_Window.mapToGlobal(at), Qt::LeftButton,
                                type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                                Qt::NoModifier));
    }
    std::vector<int> fnGetClicks(std::size_t expected) override {
        fnWaitFor([&] { return m_Window.m_Clicks.size() >= expected; });
        for (int i = 0; i < 3; ++i) // no more may follow
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        return m_Window.m_Clicks;
    }

private:
    class Recorder : public QWidget {
    public:
        std::vector<int> m_Clicks;

    protected:
        void mousePressEvent(QMouseEvent* event) override {
            m_Clicks.push_back(event->position().toPoint().x());
        }
    };

    /// Most tests press no key; only those that do need the window.
    void fnOpen() {
        if (m_Window.isVisible())
            return;
        m_Window.resize(200, 150);
        EXPECT_TRUE(fnShow(m_Window));
        EXPECT_TRUE(fnWaitFor([&] { // the window manager may not be done yet
            m_Window.activateWindow();
            return m_Window.isActiveWindow();
        }));
    }
    void fnPost(QEvent::Type type, int key) {
        fnOpen();
        QCoreApplication::postEvent(
            m_Window.windowHandle(),
            new QKeyEvent(type, key == VK_ESCAPE ? int{Qt::Key_Escape} : key, Qt::NoModifier));
    }

    Recorder m_Window;
};

class Host final : public ContractHost {
public:
    explicit Host(std::shared_ptr<CqQtWindows> windows) : m_pWindows(std::move(windows)) {}
    ~Host() override {
        Host::fnForget();
        delete m_pWindow;
    }
    void fnOpen() override {
        m_pWindow->setCentralWidget(m_pProgressBar);
        m_pWindow->resize(300, 120);
        EXPECT_TRUE(fnShow(*m_pWindow));
        m_Frame.fnSetMessageBar(&m_Bar);
        m_pWindows->fnSetApp(&m_App);
        m_pWindows->fnSetMainWnd(&m_Frame);
    }
    CWinApp& fnGetApp() override { return m_App; }
    CWnd& fnGetFrame() override { return m_Frame; }
    CProgressCtrl& fnGetProgress() override { return m_Progress; }
    std::vector<int> fnGetProgressState() override {
        return {m_pProgressBar->minimum(), m_pProgressBar->maximum(), m_pProgressBar->value()};
    }
    ContractPicture fnGetBarPicture() override { return fnGrab(*m_pWindow->statusBar()); }
    void fnEndWindow() override { delete m_pWindow; }
    void fnForget() override {
        m_pWindows->fnSetApp(nullptr);
        m_pWindows->fnSetMainWnd(nullptr);
    }

private:
    const std::shared_ptr<CqQtWindows> m_pWindows;
    QPointer<QMainWindow> m_pWindow = new QMainWindow;
    QProgressBar* const m_pProgressBar = new QProgressBar(m_pWindow);
    CqQtApp m_App{"Contract"};
    CqQtWnd m_Frame{m_pWindow};
    CqQtWnd m_Bar{m_pWindow->statusBar()};
    CqQtProgressCtrl m_Progress{m_pProgressBar};
};

class Dump final : public ContractDump {
public:
    bool fnStands() override { return fnFindFrame() != nullptr; }
    bool fnIsShown() override { return fnGet().isVisible(); }
    bool fnIsOnTop() override { return fnGet().windowFlags().testFlag(Qt::WindowStaysOnTopHint); }
    std::string fnGetCaption() override { return fnGet().windowTitle().toStdString(); }
    std::vector<std::string> fnGetLines() override {
        std::vector<std::string> lines;
        for (const QString& line : fnGet().findChild<QPlainTextEdit*>()->toPlainText().split('\n'))
            lines.push_back(line.toStdString());
        return lines;
    }
    std::string fnGetStatus(const std::string& item) override {
        QMenu& menu = fnGetMenuWidget();
        menu.popup(fnGet().mapToGlobal(QPoint(20, 30)));
        if (!item.empty())
            menu.setActiveAction(fnFindItem(item));
        const QStatusBar& bar = *fnGet().statusBar();
        const auto* idle = bar.findChild<QLabel*>();
        const QString text = idle->isVisible() ? idle->text() : bar.currentMessage();
        menu.close();
        return text.toStdString();
    }
    std::vector<Item> fnGetMenu() override {
        std::vector<Item> items;
        for (const QAction* action : fnGetMenuWidget().actions())
            items.push_back({action->text().toStdString(), action->isChecked()});
        return items;
    }
    void fnChoose(const std::string& item) override { fnFindItem(item)->trigger(); }
    void fnClose() override { fnGet().close(); }
    void fnAnswerSave(const std::optional<std::string>& path) override {
        auto* timer = new QTimer(&m_Owner);
        QObject::connect(timer, &QTimer::timeout, &m_Owner, [timer, path] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible())
                return;
            timer->stop();
            if (path)
                dialog->findChild<QLineEdit*>("fileNameEdit")
                    ->setText(QString::fromStdString(*path).replace('\\', '/'));
            QMetaObject::invokeMethod(dialog, path ? "accept" : "reject", Qt::QueuedConnection);
        });
        timer->start(5);
    }

private:
    static QMainWindow* fnFindFrame() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (widget->inherits("q32::qt::DumpFrame"))
                return qobject_cast<QMainWindow*>(widget);
        return nullptr;
    }
    static QMainWindow& fnGet() { return *fnFindFrame(); }
    static QMenu& fnGetMenuWidget() { return *fnGet().menuBar()->actions().at(0)->menu(); }
    static QAction* fnFindItem(const std::string& text) {
        for (QAction* action : fnGetMenuWidget().actions())
            if (action->text().toStdString() == text)
                return action;
        ADD_FAILURE() << "no item " << text;
        return nullptr;
    }

    QObject m_Owner;
};

constexpr std::uint32_t kConcurrency = 5;

/// The desktop back end, with its files in a new folder that is removed with the test.
/// @param bits  depth of the screen; 0: its own
/// @param over  the library draws over a widget that isn't a canvas
ContractBackEnd fnDesktop(const std::string& name, std::set<CONTRACT> contracts, int bits,
                          bool over) {
    return {name, std::move(contracts), [bits, over] {
                const auto folder = std::make_shared<QTemporaryDir>();
                CqQtOptions options;
                options.m_Posix.m_szConfigDirectory = folder->path().toStdString() + "/config";
                options.m_Posix.m_szLocale = "C.UTF-8";
                options.m_Posix.m_nConcurrency = kConcurrency;
                options.m_nBits = bits;
                const auto windows = q32QtWindows();
                ContractWorld made;
                made.m_Platform = q32QtPlatform(windows, options);
                made.m_szDirectory = folder->path().toStdString() + '\\';
                made.m_pKeep = folder;
                made.m_Tick = [] { QCoreApplication::processEvents(); };
                made.m_MakeWindow = [over] {
                    return std::make_unique<Window>(over ? new QWidget : new CqQtCanvas);
                };
                made.m_SetLastError = [](DWORD code) { errno = static_cast<int>(code); };
                made.m_pBoxes = std::make_shared<Boxes>();
                made.m_pKeys = std::make_shared<Keys>();
                made.m_pHost = std::make_shared<Host>(windows);
                made.m_pDump = std::make_shared<Dump>();
                return made;
            }};
}

} // namespace

std::vector<ContractBackEnd> fnGetBackEnds() {
    std::vector<ContractBackEnd> all = {
        fnDesktop("Desktop",
                  {CONTRACT::MEMORY, CONTRACT::SCRATCH, CONTRACT::FILES, CONTRACT::LOCALE,
                   CONTRACT::SCREEN, CONTRACT::REGIONS, CONTRACT::PALETTES, CONTRACT::BOXES,
                   CONTRACT::ERRORS, CONTRACT::KEYBOARD, CONTRACT::WINDOWS, CONTRACT::DUMP_VIEW},
                  0, false),
        fnDesktop("Bits8Over", {CONTRACT::SCREEN, CONTRACT::REGIONS, CONTRACT::PALETTES}, 8, true),
        fnDesktop("Bits16", {CONTRACT::SCREEN, CONTRACT::REGIONS, CONTRACT::PALETTES}, 16, false)};
    // The threads of the POSIX back end, if it was built with any.
    CqPosixOptions options;
    options.m_nConcurrency = kConcurrency;
    if (q32PosixPlatform(options).m_pWork)
        all[0].m_Contracts.insert(CONTRACT::WORK);
    return all;
}

std::set<CONTRACT> fnGetOmittedContracts() {
    // Services of platforms/software.
    return {CONTRACT::RESOURCES, CONTRACT::WAVE_OUT, CONTRACT::MIXERS};
}
