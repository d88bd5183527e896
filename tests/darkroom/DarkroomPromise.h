/// @file A darkroom test that checks the result of dialogs against their previews.
#pragma once

#include "tests/darkroom/DarkroomWorld.h"

#include <functional>
#include <QCheckBox>
#include <QImage>
#include <QSpinBox>

/// Compares a dialog's preview with the result of its operation.
class DarkroomPromise : public DarkroomWindow {
protected:
    void SetUp() override {
        DarkroomWindow::SetUp();
        fnView().fnSetAveraging(false); // previews show the nearest pixels
    }

    darkroom::PictureView& fnView() const { return m_pWindow->fnGetView(); }
    QImage fnLook() const { return fnView().viewport()->grab().toImage(); }

    void fnOpenAt(unsigned int width, unsigned int height, double zoom) const {
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("preview.png", width, height)));
        fnZoomTo(zoom);
    }
    void fnZoomTo(double zoom) const {
        fnView().fnSetZoom(zoom);
        QCoreApplication::processEvents(); // scroll bars appear and disappear
    }
    void fnSelect(darkroom::ShapeKind shape, const CqPoint2D& from, const CqPoint2D& to) const {
        const std::vector<CqPoint2D> corners = {from, to};
        ASSERT_TRUE(
            m_pWindow->fnGetDocument()
                .fnSelectShape(shape, corners, darkroom::Document::Combine::REPLACE, nullptr)
                .fnIsDone());
        QCoreApplication::processEvents();
    }

    static void fnSet(QDialog& dialog, const char* name, int value) {
        auto* const box = dialog.findChild<QSpinBox*>(name);
        ASSERT_TRUE(box) << name;
        box->setValue(value);
    }
    static void fnSwitch(QDialog& dialog, const char* name, bool on) {
        auto* const box = dialog.findChild<QCheckBox*>(name);
        ASSERT_TRUE(box) << name;
        box->setChecked(on);
    }

    using Use = std::function<void(QDialog&)>;

    /// Runs an operation with changed values in its dialog; holds what was visible before OK and
    /// after.
    struct Promise {
        QImage m_Before;
        QImage m_Shown;
        QImage m_Done;
    };
    Promise fnPromise(const char* id, const Use& set) {
        return fnPromise([&] { fnDo(id); }, set);
    }
    Promise fnPromise(const std::function<void()>& start, const Use& set) {
        Promise promise;
        promise.m_Before = fnLook();
        fnInDialog([&](QDialog& dialog) {
            fnSetAndShow(dialog, set, promise.m_Before);
            promise.m_Shown = fnLook();
            fnAccept(dialog);
        });
        start();
        QCoreApplication::processEvents();
        promise.m_Done = fnLook();
        return promise;
    }

    /// The same, but cancelled: everything looks as before, and nothing can be undone.
    void fnExpectTakenBack(const std::function<void()>& start, const Use& set) {
        const QImage before = fnLook();
        fnInDialog([&](QDialog& dialog) {
            fnSetAndShow(dialog, set, before);
            dialog.reject();
        });
        start();
        QCoreApplication::processEvents();
        EXPECT_TRUE(fnLook() == before);
        EXPECT_FALSE(m_pWindow->isWindowModified());
        EXPECT_FALSE(m_pWindow->fnGetDocument().fnCanUndo());
    }

private:
    void fnSetAndShow(QDialog& dialog, const Use& set, const QImage& before) const {
        fnSwitch(dialog, "preview", false); // so that no preview of other values is shown
        set(dialog);
        EXPECT_TRUE(fnLook() == before) << "switched off";
        fnSwitch(dialog, "preview", true);
        EXPECT_TRUE(fnWaitFor([&] { return fnLook() != before; }));
    }
};
