// The darkroom's appearance: screenshots of its windows, in light and dark colours.
#include "examples/darkroom/ui/ColorButton.h"
#include "plugins/PictureFile.h"
#include "tests/darkroom/DarkroomWorld.h"

#include <cmath>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QPalette>
#include <QSpinBox>
#include <QTabWidget>

namespace {

class DarkroomLooks : public DarkroomWindow, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        m_Before = QApplication::palette();
        if (GetParam())
            QApplication::setPalette(QPalette(QColor(45, 45, 48), QColor(30, 30, 32)));
        DarkroomWindow::SetUp();
        ASSERT_TRUE(m_pWindow->fnOpen(fnMakeScene("scene.png", 24)));
    }
    void TearDown() override {
        DarkroomWindow::TearDown();
        QApplication::setPalette(m_Before);
    }

    /// Colour gradients with a bright disk.
    QString fnMakeScene(const QString& name, unsigned int bits) const {
        CqImage image;
        image.fnAlloc(800, 600, bits, nullptr, 0);
        const std::size_t pixel = bits / 8;
        CqImageLine line;
        for (unsigned int y = 0; y < 600; ++y) {
            image.fnAccessLine(y, &line, false);
            for (unsigned int x = 0; x < 800; ++x) {
                const bool disk = std::hypot(x - 560.0, y - 200.0) < 90;
                unsigned char* const out = line.LineBuffer + pixel * x + (pixel - 3);
                out[0] = static_cast<unsigned char>(disk ? 250 : 60 + x / 8);
                out[1] = static_cast<unsigned char>(disk ? 220 : 90 + y / 8);
                out[2] = static_cast<unsigned char>(disk ? 120 : 220 - y / 4);
                if (pixel == 4)
                    line.LineBuffer[4 * x] = disk ? 255 : 0;
            }
        }
        line.fnUnAssociate();
        const QString path = fnPath(name);
        EXPECT_TRUE(
            q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_PNG).fnIsDone());
        return path;
    }

    void fnKeep(QWidget& window, const char* name) const {
        fnExpectReadable(window);
        fnKeepPicture(window, QString(name) + (GetParam() ? "-dark" : "-light"));
    }

    /// All texts contrast with their background.
    static void fnExpectReadable(const QWidget& window) {
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            const QPalette& colors = label->palette();
            EXPECT_GT(std::abs(colors.color(QPalette::WindowText).lightness() -
                               colors.color(QPalette::Window).lightness()),
                      100)
                << label->text().toStdString();
        }
    }

private:
    QPalette m_Before;
};

INSTANTIATE_TEST_SUITE_P(Colors, DarkroomLooks, testing::Bool(),
                         [](const auto& dark) { return dark.param ? "Dark" : "Light"; });

} // namespace

TEST_P(DarkroomLooks, TheWindowUsesThePalettesColors) {
    fnDo("sound");
    m_pWindow->fnGetView().fnSetZoom(0.25);
    QCoreApplication::processEvents();
    const QImage shown = m_pWindow->grab().toImage();
    const int ground = shown.pixelColor(4, shown.height() - 4).lightness();
    EXPECT_EQ(ground < 128, GetParam()) << ground;
    m_pWindow->fnGetView().fnSetFit(true);
    QCoreApplication::processEvents();
    fnKeep(*m_pWindow, "window");
}

TEST_P(DarkroomLooks, ADialogShowsItsEffectInThePicture) {
    darkroom::PictureView& view = m_pWindow->fnGetView();
    const auto look = [&] { return view.viewport()->grab().toImage(); };
    const auto colorAt = [&](double x, double y) {
        const QPointF pixel = view.fnToView({x, y}) * view.devicePixelRatioF();
        return look().pixelColor(pixel.toPoint());
    };
    view.fnSetZoom(0.5); // space for rotating corners
    QCoreApplication::processEvents();
    const QColor ground = look().pixelColor(1, 1);
    EXPECT_EQ(ground.lightness() < 128, GetParam());
    EXPECT_GT(colorAt(560, 200).red(), 240) << "the yellow disk";
    fnDo("hue", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Hue")->setValue(120);
        EXPECT_TRUE(fnWaitFor([&] {
            const QColor disk = colorAt(560, 200);
            return disk.green() > disk.red() && disk.red() < 200;
        })) << "it has turned green";
        fnKeep(dialog, "hue");
        fnKeep(*m_pWindow, "hue-preview");
        dialog.reject();
    });
    EXPECT_GT(colorAt(560, 200).red(), 240) << "taken back";
    fnDo("rotate", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Angle, clockwise")->setValue(30 * darkroom::kDegree);
        // The disk moves from (160, -100) relative to the centre to (189, -7).
        EXPECT_TRUE(fnWaitFor([&] { return colorAt(589, 293).red() > 240; }));
        EXPECT_EQ(colorAt(20, 20), QColor(Qt::white)) << "the corner shows the background";
        EXPECT_EQ(look().pixelColor(1, 1), ground) << "around lies the view's own";
        fnKeep(dialog, "rotate");
        fnKeep(*m_pWindow, "rotate-preview");
        dialog.reject();
    });
}

TEST_P(DarkroomLooks, APictureIsMergedByItsAlphaInsideAFrame) {
    fnInDialog([&](QDialog& dialog) {
        auto* const rule = dialog.findChild<QComboBox*>("rule");
        rule->setCurrentIndex(rule->count() - 1);
        EXPECT_EQ(rule->currentText(), "By its alpha");
        dialog.findChild<QSpinBox*>("x")->setValue(-300);
        EXPECT_TRUE(fnWaitFor([&] { // the disk, moved by 300 pixels
            darkroom::PictureView& view = m_pWindow->fnGetView();
            const QPointF pixel = view.fnToView({260, 200}) * view.devicePixelRatioF();
            return view.viewport()->grab().toImage().pixelColor(pixel.toPoint()).red() > 240;
        }));
        fnKeep(dialog, "merge");
        fnKeep(*m_pWindow, "merge-frame");
        fnAccept(dialog);
    });
    m_pWindow->fnMerge(fnMakeScene("alpha.png", 32));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().fnGetPixelColor(260, 200),
              CqColor(250, 220, 120, 255));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().fnGetPixelColor(10, 10),
              CqColor(61, 91, 218, 255));
}

TEST_P(DarkroomLooks, FillsAndALimitAreShownByTheirDialogs) {
    darkroom::PictureView& view = m_pWindow->fnGetView();
    const auto colorAt = [&](double x, double y) {
        const QPointF pixel = view.fnToView({x, y}) * view.devicePixelRatioF();
        return view.viewport()->grab().toImage().pixelColor(pixel.toPoint());
    };
    const std::vector<CqPoint2D> corners = {{200, 100}, {680, 510}};
    ASSERT_TRUE(m_pWindow->fnGetDocument()
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    fnDo("fill", [&](QDialog& dialog) {
        dialog.findChild<darkroom::ColorButton*>("Color")->fnSetColor(CqColor(90, 200, 60, 255));
        EXPECT_TRUE(fnWaitFor([&] { return colorAt(440, 300) == QColor(90, 200, 60); }));
        EXPECT_NE(colorAt(100, 50), QColor(90, 200, 60)) << "not selected";
        fnKeep(dialog, "fill");
        fnKeep(*m_pWindow, "fill-preview");
        dialog.reject();
    });
    CqImage tile;
    tile.fnAlloc(40, 40, 24, nullptr, 0);
    tile.fnFill(CqColor(230, 230, 220, 255), nullptr, false);
    const CRect corner(0, 0, 20, 20);
    tile.fnFill(CqColor(180, 60, 40, 255), &corner, false);
    const QString path = fnPath("tile.png");
    ASSERT_TRUE(q32WritePicture(QFile::encodeName(path).constData(), tile, PICTURE_PNG).fnIsDone());
    fnInDialog([&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("x")->setValue(10);
        // Tiles begin at 210 + 40 n and 100 + 40 n; (415, 305) lies 5 pixels inside of one.
        EXPECT_TRUE(fnWaitFor([&] { return colorAt(415, 305) == QColor(180, 60, 40); }));
        fnKeep(dialog, "pattern");
        fnKeep(*m_pWindow, "pattern-preview");
        dialog.reject();
    });
    m_pWindow->fnFillPattern(path);
    fnDo("resize", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("Width")->setValue(60000);
        QCoreApplication::processEvents();
        fnKeep(dialog, "resize-limit");
        dialog.reject();
    });
}

TEST_P(DarkroomLooks, PreferencesAndSelectionsAreReadable) {
    fnDo("preferences", [&](QDialog& dialog) {
        fnKeep(dialog, "preferences-memory");
        dialog.findChild<QTabWidget*>()->setCurrentIndex(1);
        fnKeep(dialog, "preferences-screen");
        dialog.reject();
    });
    const std::vector<CqPoint2D> corners = {{450, 100}, {680, 310}};
    ASSERT_TRUE(m_pWindow->fnGetDocument()
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    QCoreApplication::processEvents();
    fnKeep(*m_pWindow, "selection");
    // Unselected pixels are darker, up to the picture's last row and column.
    darkroom::PictureView& view = m_pWindow->fnGetView();
    const QImage shown = view.viewport()->grab().toImage();
    CqImage& image = m_pWindow->fnGetDocument().fnGetImage();
    for (int y = 0; y < shown.height(); ++y)
        for (int x = 0; x < shown.width(); ++x) {
            const QPoint place = view.fnGetSample({x, y});
            if (!QRect(0, 0, 800, 600).contains(place) || QRect(450, 100, 230, 210).contains(place))
                continue;
            ASSERT_LT(shown.pixelColor(x, y).blue(),
                      image.fnGetPixelColor(place.x(), place.y()).m_Blue)
                << place.x() << ", " << place.y();
        }
}
