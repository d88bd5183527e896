#include "q32Base/messages/Messages.h"
#include "tests/platforms/qt/QtTestTools.h"
#include "tests/platforms/qt/QtWorld.h"

#include <cerrno>
#include <functional>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <thread>

namespace {

void fnPressEsc(QMessageBox& box) {
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&box, &press);
}

class QtMessages : public QtWorld {
protected:
    /// Shows a box, calls `look` with it, and presses the button `answer` or, for none, Esc.
    int fnShowBox(const char* text, UINT style, const char* caption,
                  QMessageBox::StandardButton answer,
                  const std::function<void(QMessageBox&)>& look = nullptr) {
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || !box->isVisible())
                return;
            timer.stop();
            if (look)
                look(*box);
            if (answer == QMessageBox::NoButton)
                fnPressEsc(*box);
            else if (QAbstractButton* button = box->button(answer))
                button->click();
            else
                box->done(0);
        });
        timer.start(5);
        return m_Platform.m_pMessages->fnShowBox(text, style, caption);
    }
};

TEST_F(QtMessages, EachButtonHasItsAnswer) {
    EXPECT_EQ(fnShowBox("a", MB_OK, "t", QMessageBox::Ok), IDOK);
    EXPECT_EQ(fnShowBox("a", MB_OKCANCEL, "t", QMessageBox::Ok), IDOK);
    EXPECT_EQ(fnShowBox("a", MB_OKCANCEL, "t", QMessageBox::Cancel), IDCANCEL);
    EXPECT_EQ(fnShowBox("a", MB_YESNO, "t", QMessageBox::Yes), IDYES);
    EXPECT_EQ(fnShowBox("a", MB_YESNO, "t", QMessageBox::No), IDNO);
    EXPECT_EQ(fnShowBox("a", MB_YESNOCANCEL, "t", QMessageBox::Yes), IDYES);
    EXPECT_EQ(fnShowBox("a", MB_YESNOCANCEL, "t", QMessageBox::No), IDNO);
    EXPECT_EQ(fnShowBox("a", MB_YESNOCANCEL, "t", QMessageBox::Cancel), IDCANCEL);
}

TEST_F(QtMessages, EscAnswersWithTheLeastHarmfulButton) {
    EXPECT_EQ(fnShowBox("a", MB_OK, "t", QMessageBox::NoButton), IDOK);
    EXPECT_EQ(fnShowBox("a", MB_YESNO, "t", QMessageBox::NoButton), IDNO);
    EXPECT_EQ(fnShowBox("a", MB_YESNOCANCEL, "t", QMessageBox::NoButton), IDCANCEL);
}

TEST_F(QtMessages, TheBoxHasTextCaptionIconAndModality) {
    const auto look = [](QMessageBox& box) {
        EXPECT_EQ(box.text(), QString("<b>sea & sky</b>.bmp"));
        EXPECT_EQ(box.textFormat(), Qt::PlainText);
        EXPECT_EQ(box.windowTitle(), QString("Darkroom"));
        EXPECT_EQ(box.icon(), QMessageBox::Warning);
        EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
        EXPECT_EQ(box.buttons().size(), 3);
    };
    fnShowBox("<b>sea & sky</b>.bmp", MB_YESNOCANCEL | MB_ICONEXCLAMATION, "Darkroom",
              QMessageBox::No, look);
}

TEST_F(QtMessages, BoxesAreWideEnoughForTheirTexts) {
    fnInBothPalettes([&](const QString& name) {
        const auto look = [&](QMessageBox& box) {
            const auto* text = box.findChild<QLabel*>("qt_msgbox_label");
            ASSERT_NE(text, nullptr);
            EXPECT_GE(text->height(), text->heightForWidth(text->width()));
            for (const QAbstractButton* button : box.buttons())
                EXPECT_TRUE(box.rect().contains(
                    button->geometry().translated(button->parentWidget()->mapTo(&box, QPoint()))));
            fnKeepPicture(box, "message-" + QString::number(box.icon()) + name);
        };
        fnShowBox("Save changes to [sunset over the bay.bmp] before closing?",
                  MB_YESNOCANCEL | MB_ICONEXCLAMATION, "Darkroom", QMessageBox::No, look);
        fnShowBox("Insufficient memory. Please close other programs\nto free up system resources.",
                  MB_ICONHAND, "Darkroom", QMessageBox::Ok, look);
        fnShowBox("Done?", MB_YESNO | MB_ICONQUESTION, "Darkroom", QMessageBox::No, look);
        fnShowBox("Done.", MB_ICONASTERISK, "Darkroom", QMessageBox::Ok, look);
    });
}

TEST_F(QtMessages, EachIconIsShown) {
    const std::pair<UINT, QMessageBox::Icon> icons[] = {
        {0, QMessageBox::NoIcon},
        {MB_ICONHAND, QMessageBox::Critical},
        {MB_ICONQUESTION, QMessageBox::Question},
        {MB_ICONEXCLAMATION, QMessageBox::Warning},
        {MB_ICONASTERISK, QMessageBox::Information}};
    for (const auto& [style, icon] : icons)
        fnShowBox("a", style, nullptr, QMessageBox::Ok,
                  [icon = icon](QMessageBox& box) { EXPECT_EQ(box.icon(), icon); });
}

TEST_F(QtMessages, TheDefaultButtonIsTheOneThatTheStyleNames) {
    const auto expect = [&](UINT style, QMessageBox::StandardButton button) {
        fnShowBox("a", MB_YESNOCANCEL | style, "t", QMessageBox::Cancel, [&](QMessageBox& box) {
            EXPECT_EQ(box.standardButton(box.defaultButton()), button);
        });
    };
    expect(0, QMessageBox::Yes);
    expect(0x100, QMessageBox::No);
    expect(0x200, QMessageBox::Cancel);
    expect(0xF00, QMessageBox::Yes);
}

TEST_F(QtMessages, ABoxBelongsToTheActiveWindow) {
    QWidget window;
    window.resize(200, 100);
    ASSERT_TRUE(fnShow(window));
    window.activateWindow();
    ASSERT_TRUE(fnWaitFor([&] { return window.isActiveWindow(); }));
    fnShowBox("a", 0, "t", QMessageBox::Ok,
              [&](QMessageBox& box) { EXPECT_EQ(box.parentWidget(), &window); });
}

TEST_F(QtMessages, WithoutAnActiveWindowABoxBelongsToTheMainWindow) {
    QWidget window;
    CqQtWnd frame(&window);
    m_pWindows->fnSetMainWnd(&frame);
    ASSERT_TRUE(fnWaitFor([] { return !QApplication::activeWindow(); }));
    fnShowBox("a", 0, "t", QMessageBox::Ok,
              [&](QMessageBox& box) { EXPECT_EQ(box.parentWidget(), &window); });
    m_pWindows->fnSetMainWnd(nullptr);
}

TEST_F(QtMessages, ABoxClosesWithItsWindow) {
    const QPointer<QWidget> window(new QWidget);
    CqQtWnd frame(window);
    m_pWindows->fnSetMainWnd(&frame);
    ASSERT_TRUE(fnWaitFor([] { return !QApplication::activeWindow(); }));
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (QApplication::activeModalWidget())
            delete window;
    });
    timer.start(5);
    EXPECT_EQ(m_Platform.m_pMessages->fnShowBox("a", MB_YESNO, "t"), 0);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    m_pWindows->fnSetMainWnd(nullptr);
}

TEST_F(QtMessages, ABoxInABoxBelongsToIt) {
    int inner = 0;
    fnShowBox("outer", MB_YESNO, "t", QMessageBox::Yes, [&](QMessageBox& outer) {
        inner = fnShowBox("inner", MB_YESNO, "t", QMessageBox::No, [&](QMessageBox& box) {
            EXPECT_EQ(box.text(), QString("inner"));
            EXPECT_EQ(box.parentWidget(), &outer);
        });
    });
    EXPECT_EQ(inner, IDNO);
}

TEST_F(QtMessages, TheLibrarysMessagesUseTheService) {
    QString text;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            timer.stop();
            text = box->text();
            EXPECT_EQ(box->icon(), QMessageBox::Critical);
            box->button(QMessageBox::Ok)->click();
        }
    });
    timer.start(5);
    EXPECT_EQ(q32ShowMsg(-3, nullptr, "x.bmp", nullptr, 0), IDOK);
    EXPECT_EQ(text, QString("Unable to open the file [x.bmp]."));
}

TEST_F(QtMessages, OnAnotherThreadTheTextGoesToTheErrorStream) {
    int answer = -1;
    testing::internal::CaptureStderr();
    std::thread([&] {
        answer = m_Platform.m_pMessages->fnShowBox("from afar", MB_YESNO, "Name");
    }).join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Name: from afar\n");
    EXPECT_EQ(answer, 0);
}

TEST_F(QtMessages, ErrorsAreTheSystemsOwn) {
    errno = ENOENT;
    EXPECT_EQ(m_Platform.m_pMessages->fnGetLastError(), static_cast<DWORD>(ENOENT));
    std::string text;
    EXPECT_TRUE(m_Platform.m_pMessages->fnFormatError(ENOENT, text));
    EXPECT_FALSE(text.empty());
}

} // namespace
