// What dialogs preview before their operations are run.
#include "plugins/PictureFile.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomPromise.h"
#include "tests/darkroom/PictureTools.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <QComboBox>
#include <QFile>

namespace {

class DarkroomPreview : public DarkroomPromise {
protected:
    /// Mean difference of the channels over the tenths of the picture that differ least: the fringe
    /// depends on the filter.
    /// @param ground  the view's own background, which isn't counted
    static double fnDistance(const QImage& a, const QImage& b, QRgb ground) {
        EXPECT_EQ(a.size(), b.size());
        std::vector<int> differences;
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x) {
                const QRgb left = a.pixel(x, y);
                const QRgb right = b.pixel(x, y);
                const bool plain = right == ground || right == qRgb(255, 255, 255);
                if (!plain)
                    differences.push_back(std::abs(qRed(left) - qRed(right)) +
                                          std::abs(qGreen(left) - qGreen(right)) +
                                          std::abs(qBlue(left) - qBlue(right)));
            }
        std::sort(differences.begin(), differences.end());
        differences.resize(differences.size() * 9 / 10);
        return std::accumulate(differences.begin(), differences.end(), 0.0) / 3 /
               static_cast<double>(differences.size());
    }

    /// A picture without fine detail: gradients with a bright quarter.
    QString fnMakeSlopes(const QString& name, unsigned int width, unsigned int height,
                         unsigned int bits = 24) const {
        CqImage image;
        image.fnAlloc(width, height, bits, nullptr, 0);
        const std::size_t pixel = bits / 8;
        CqImageLine line;
        for (unsigned int y = 0; y < height; ++y) {
            image.fnAccessLine(y, &line, false);
            for (unsigned int x = 0; x < width; ++x) {
                const bool bright = x < width / 2 && y < height / 2;
                unsigned char* const out = line.LineBuffer + pixel * x;
                if (pixel == 4)
                    out[0] = static_cast<unsigned char>(y * 255 / height);
                out[pixel - 3] = static_cast<unsigned char>(x * 200 / width);
                out[pixel - 2] = static_cast<unsigned char>(y * 200 / height);
                out[pixel - 1] = bright ? 250 : 40;
            }
        }
        line.fnUnAssociate();
        const QString path = fnPath(name);
        EXPECT_TRUE(
            q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_PNG).fnIsDone());
        return path;
    }
};

} // namespace

TEST_F(DarkroomPreview, FiltersShowWhatTheyWillDoAtAnyZoom) {
    fnOpenAt(640, 480, 1);
    for (const char* id : {"soften", "sharpen"})
        for (const double zoom : {1.0, 0.5, 2.0 / 3, 0.3, 3.0}) {
            fnZoomTo(zoom);
            fnView().fnCenterOn({311, 203});
            QCoreApplication::processEvents();
            const Promise promise =
                fnPromise(id, [](QDialog& dialog) { fnSet(dialog, "Amount", 83); });
            EXPECT_TRUE(promise.m_Shown == promise.m_Done) << id << " at " << zoom;
            fnDo("undo");
            EXPECT_TRUE(fnLook() == promise.m_Before) << id << " at " << zoom;
        }
}

TEST_F(DarkroomPreview, WhatIsNotSelectedStays) {
    fnOpenAt(640, 480, 1);
    const std::vector<CqPoint2D> corners = {{100, 80}, {431, 300}};
    for (const double zoom : {1.0, 0.5, 3.0}) {
        ASSERT_TRUE(m_pWindow->fnGetDocument()
                        .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                       darkroom::Document::Combine::REPLACE, nullptr)
                        .fnIsDone());
        fnZoomTo(zoom);
        const Promise promise =
            fnPromise("brightness", [](QDialog& dialog) { fnSet(dialog, "Brightness", 60); });
        EXPECT_TRUE(promise.m_Shown == promise.m_Done) << zoom;
        fnDo("undo");
    }
}

TEST_F(DarkroomPreview, RightAnglesAndNearestNeighbourShowTheResultInItsPlace) {
    fnOpenAt(150, 101, 1);
    for (const double zoom : {1.0, 0.5, 3.0}) {
        fnZoomTo(zoom);
        for (const int angle : {90, 180, -90}) {
            const Promise promise = fnPromise("rotate", [&](QDialog& dialog) {
                fnSet(dialog, "Angle, clockwise", angle * darkroom::kDegree);
            });
            EXPECT_TRUE(promise.m_Shown == promise.m_Done) << angle << " at " << zoom;
            fnDo("undo");
        }
        for (const QSize size : {QSize(75, 50), QSize(200, 33), QSize(77, 150)}) {
            const Promise promise = fnPromise("resize", [&](QDialog& dialog) {
                fnSwitch(dialog, "Interpolate", false);
                fnSwitch(dialog, "proportions", false);
                fnSet(dialog, "Width", size.width());
                fnSet(dialog, "Height", size.height());
                // With the check box alone, the picture is shown unchanged.
            });
            EXPECT_TRUE(promise.m_Shown == promise.m_Done)
                << size.width() << " x " << size.height() << " at " << zoom;
            fnDo("undo");
        }
    }
}

TEST_F(DarkroomPreview, AMovedPictureWithAlphaShowsTheBoardAndNoHiddenColours) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakeSlopes("alpha.png", 150, 101, 32)));
    ASSERT_EQ(m_pWindow->fnGetDocument().fnGetImage().BitCount, 32u);
    for (const double zoom : {1.0, 0.5, 3.0}) {
        fnZoomTo(zoom);
        for (const int angle : {90, 180, -90}) {
            const Promise promise = fnPromise("rotate", [&](QDialog& dialog) {
                fnSet(dialog, "Angle, clockwise", angle * darkroom::kDegree);
            });
            EXPECT_TRUE(promise.m_Shown == promise.m_Done) << angle << " at " << zoom;
            fnDo("undo");
        }
        for (const bool smooth : {false, true}) {
            const Promise promise = fnPromise("resize", [&](QDialog& dialog) {
                fnSwitch(dialog, "proportions", false);
                fnSet(dialog, "Width", 200);
                fnSet(dialog, "Height", 90);
                fnSwitch(dialog, "Interpolate", smooth);
            });
            const QRgb ground = promise.m_Shown.pixel(0, 0);
            EXPECT_LT(fnDistance(promise.m_Shown, promise.m_Done, ground), smooth ? 4 : 1e-9)
                << smooth << " at " << zoom;
            fnDo("undo");
        }
    }
}

TEST_F(DarkroomPreview, ABlurTakesInWhatLiesBeyondTheEdgesOfTheView) {
    CqImage image;
    image.fnAlloc(3200, 900, 24, nullptr, 0);
    const CRect left(0, 0, 1000, 900);
    image.fnFill(CqColor(255, 255, 255, 255), nullptr, false);
    image.fnFill(CqColor(0, 0, 0, 255), &left, false);
    const QString path = fnPath("edge.png");
    ASSERT_TRUE(
        q32WritePicture(QFile::encodeName(path).constData(), image, PICTURE_PNG).fnIsDone());
    ASSERT_TRUE(m_pWindow->fnOpen(path));
    for (const double zoom : {1.0, 0.5}) {
        fnZoomTo(zoom * fnView().devicePixelRatioF()); // a part as wide on each screen
        const CRect seen = fnView().fnGetVisible();
        fnView().fnCenterOn({1000 + seen.Width() / 2.0, 450});
        QCoreApplication::processEvents();
        ASSERT_NEAR(fnView().fnGetVisible().left, 1000, 3);
        const Promise promise =
            fnPromise("blur", [](QDialog& dialog) { fnSet(dialog, "Radius", 200); });
        const int middle = promise.m_Done.height() / 2;
        for (const int x : {0, 3, 10, 40})
            EXPECT_NEAR(qRed(promise.m_Shown.pixel(x, middle)),
                        qRed(promise.m_Done.pixel(x, middle)), 6)
                << x << " at " << zoom;
        EXPECT_LT(qRed(promise.m_Done.pixel(0, middle)), 150);
        fnDo("undo");
    }
}

TEST_F(DarkroomPreview, OtherAnglesAndScalesShowTheResultInItsPlaceExceptForTheFilter) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakeSlopes("slopes.png", 160, 120)));
    // A picture displaced by a pixel differs by more than 1.
    constexpr double kNear = 0.6;
    for (const double zoom : {1.0, 0.5, 2.0}) {
        fnZoomTo(zoom);
        const QRgb ground = fnLook().pixel(0, 0);
        for (const int angle : {1, 30, -137}) {
            const Promise promise = fnPromise("rotate", [&](QDialog& dialog) {
                fnSet(dialog, "Angle, clockwise", angle * darkroom::kDegree);
            });
            EXPECT_LT(fnDistance(promise.m_Shown, promise.m_Done, ground), kNear)
                << angle << " at " << zoom;
            EXPECT_GT(fnDistance(promise.m_Before, promise.m_Done, ground), kNear)
                << angle << " at " << zoom;
            fnDo("undo");
        }
        for (const int percent : {40, 150}) {
            const double near = kNear * 100 / std::min(percent, 100); // gradients get steeper
            const Promise promise = fnPromise(
                "resize", [&](QDialog& dialog) { fnSet(dialog, "percent", percent * 100); });
            EXPECT_LT(fnDistance(promise.m_Shown, promise.m_Done, ground), near)
                << percent << " % at " << zoom;
            EXPECT_GT(fnDistance(promise.m_Before, promise.m_Done, ground), near)
                << percent << " % at " << zoom;
            fnDo("undo");
        }
    }
}

TEST_F(DarkroomPreview, APictureBeyondTheViewRotatesInPlaceAndReturns) {
    fnOpenAt(1500, 1100, 3);
    for (const double zoom : {3.0, 1.0, 0.5}) {
        fnZoomTo(zoom);
        fnView().fnCenterOn({700, 400});
        QCoreApplication::processEvents();
        const QImage before = fnLook();
        const QPoint middle(before.width() / 2, before.height() / 2);
        fnDo("rotate", [&](QDialog& dialog) {
            fnSwitch(dialog, "Smooth edges", false);
            fnSet(dialog, "Angle, clockwise", 10 * darkroom::kDegree);
            ASSERT_TRUE(fnWaitFor([&] { return fnLook() != before; }));
            fnSet(dialog, "Angle, clockwise", 0 * darkroom::kDegree);
            EXPECT_TRUE(fnWaitFor([&] { return fnLook() == before; })) << zoom;
            dialog.reject();
        });
        EXPECT_TRUE(fnLook() == before) << zoom;
    }
}

TEST_F(DarkroomPreview, AHugePictureIsRotatedFromACopyAtItsVisibleSize) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakeSlopes("huge.png", 4000, 2200)));
    fnZoomTo(0.1);
    ASSERT_TRUE(fnWaitFor([&] { return !fnView().fnIsRefining(); }));
    const QRgb ground = fnLook().pixel(0, 0);
    const Promise promise = fnPromise("rotate", [](QDialog& dialog) {
        fnSet(dialog, "Angle, clockwise", 30 * darkroom::kDegree);
    });
    ASSERT_TRUE(fnWaitFor([&] { return !fnView().fnIsRefining(); }));
    EXPECT_LT(fnDistance(promise.m_Shown, fnLook(), ground), 0.5);
    EXPECT_GT(fnDistance(promise.m_Before, fnLook(), ground), 2);
}

TEST_F(DarkroomPreview, AMovedPictureIsOnTheViewsBackgroundWithoutTheSelectionsShade) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakeSlopes("slopes.png", 300, 200)));
    fnZoomTo(1);
    const QImage plain = fnLook();
    const QRgb ground = plain.pixel(2, 2);
    fnDo("half");
    const QImage upsideDown = fnLook();
    fnDo("undo");
    const std::vector<CqPoint2D> corners = {{10, 10}, {60, 50}};
    ASSERT_TRUE(m_pWindow->fnGetDocument()
                    .fnSelectShape(darkroom::ShapeKind::RECTANGLE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    QCoreApplication::processEvents();
    const QImage shaded = fnLook();
    ASSERT_FALSE(shaded == plain);
    fnDo("rotate", [&](QDialog& dialog) {
        EXPECT_TRUE(fnLook() == shaded) << "not turned yet";
        fnSet(dialog, "Angle, clockwise", 180 * darkroom::kDegree);
        ASSERT_TRUE(fnWaitFor([&] { return fnLook() != shaded; }));
        EXPECT_TRUE(fnLook() == upsideDown) << "no shade";
        fnSet(dialog, "Angle, clockwise", 45 * darkroom::kDegree);
        ASSERT_TRUE(fnWaitFor([&] { return fnLook() != upsideDown; }));
        const QImage turned = fnLook();
        EXPECT_EQ(turned.pixel(2, 2), ground);
        fnKeepPicture(*m_pWindow, "rotate-selected");
        dialog.reject();
    });
}

TEST_F(DarkroomPreview, AResizedViewGetsANewPreview) {
    fnOpenAt(1500, 1100, 1);
    for (const char* id : {"threshold", "rotate"}) {
        m_pWindow->resize(900, 640);
        QCoreApplication::processEvents();
        const QImage first = fnLook();
        fnDo(id, [&](QDialog& dialog) {
            if (std::string(id) == "rotate")
                fnSet(dialog, "Angle, clockwise", 30 * darkroom::kDegree);
            EXPECT_TRUE(fnWaitFor([&] { return fnLook() != first; })) << id;
            m_pWindow->resize(700, 500);
            EXPECT_TRUE(fnWaitFor([&] { return fnLook().size() != first.size(); }));
            // As if the dialog had been opened now.
            QImage fresh;
            EXPECT_TRUE(fnWaitFor([&] {
                const QImage resized = fnLook();
                fnSwitch(dialog, "preview", false);
                const QImage bare = fnLook();
                fnSwitch(dialog, "preview", true);
                fresh = fnLook();
                return resized == fresh && fresh != bare;
            })) << id;
            EXPECT_EQ(fresh.size(), fnLook().size());
            dialog.reject();
        });
    }
}

TEST_F(DarkroomPreview, ASizeIsKeptInProportionUntilUnlocked) {
    fnOpenAt(640, 480, 1);
    fnDo("resize", [&](QDialog& dialog) {
        auto& width = *dialog.findChild<QSpinBox*>("Width");
        auto& height = *dialog.findChild<QSpinBox*>("Height");
        width.setValue(321);
        EXPECT_EQ(height.value(), 241) << "240.75";
        height.setValue(100);
        EXPECT_EQ(width.value(), 133) << "133.3";
        EXPECT_EQ(height.value(), 100) << "what is typed stays";
        fnSwitch(dialog, "proportions", false);
        width.setValue(640);
        EXPECT_EQ(height.value(), 100);
        fnSwitch(dialog, "proportions", true);
        EXPECT_EQ(height.value(), 480);
        dialog.reject();
    });
}

TEST_F(DarkroomPreview, ProportionsAreThePicturesOwnHoweverLongItIs) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("long.bmp", 70000, 40)));
    fnDo("resize", [&](QDialog& dialog) {
        auto& width = *dialog.findChild<QSpinBox*>("Width");
        auto& height = *dialog.findChild<QSpinBox*>("Height");
        EXPECT_EQ(width.value(), 70000);
        EXPECT_EQ(height.value(), 40);
        height.setValue(20);
        EXPECT_EQ(width.value(), 35000);
        width.setValue(140000);
        EXPECT_EQ(height.value(), 80);
        // Where one can't follow, the other stops.
        height.setValue(2'000'000'000);
        EXPECT_GT(width.value(), 2'147'000'000);
        EXPECT_NEAR(width.value(), height.value() * 1750.0, 1750.0);
        fnSwitch(dialog, "proportions", false);
        height.setValue(2'000'000'000);
        EXPECT_EQ(height.value(), 2'000'000'000);
        fnSwitch(dialog, "proportions", true);
        EXPECT_NEAR(width.value(), height.value() * 1750.0, 1750.0);
        dialog.reject();
    });
}

TEST_F(DarkroomPreview, ACopyAtTheVisibleSizeHasAtMostEightMillionPixels) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("large.bmp", 3600, 2500)));
    const auto copied = [&](double zoom) {
        fnZoomTo(zoom);
        const QImage before = fnLook();
        std::uint32_t bytes = 0;
        fnDo("rotate", [&](QDialog& dialog) {
            const std::uint32_t used = q32GetVMPolicy()->fnGetRamUsed();
            fnSet(dialog, "Angle, clockwise", 30 * darkroom::kDegree);
            EXPECT_TRUE(fnWaitFor([&] { return fnLook() != before; }));
            bytes = q32GetVMPolicy()->fnGetRamUsed() - used;
            dialog.reject();
        });
        return bytes;
    };
    EXPECT_EQ(copied(0.95), 0u) << "8,122,500 of 9,000,000 pixels";
    EXPECT_GE(copied(0.5), 1800u * 1250 * 3);
    EXPECT_EQ(copied(1.0), 0u);
}

TEST_F(DarkroomPreview, ADialogThatChangesNothingYetLeavesTheViewUnchanged) {
    fnOpenAt(2400, 1600, 0.1);
    ASSERT_TRUE(fnWaitFor([&] { return !fnView().fnIsRefining(); }));
    const QImage before = fnLook();
    for (const char* id : {"brightness", "hue", "rotate", "resize"})
        fnDo(id, [&](QDialog& dialog) {
            for (int i = 0; i < 3; ++i)
                QCoreApplication::processEvents();
            EXPECT_TRUE(fnLook() == before) << id << ": means, not nearest pixels";
            dialog.reject();
        });
}

TEST_F(DarkroomPreview, AMergeIsShownByItsRule) {
    const QString path = fnMakeSlopes("over.png", 120, 90, 32);
    for (const double zoom : {1.0, 0.5, 3.0}) {
        fnOpenAt(640, 480, zoom);
        fnView().fnCenterOn({130, 90});
        const std::vector<CqPoint2D> corners = {{120, 80}, {170, 300}};
        ASSERT_TRUE(m_pWindow->fnGetDocument()
                        .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                       darkroom::Document::Combine::REPLACE, nullptr)
                        .fnIsDone());
        QCoreApplication::processEvents();
        for (int rule = 0; rule < 4; ++rule) {
            const QImage before = fnLook();
            QImage shown;
            QRectF frame;
            fnInDialog([&](QDialog& dialog) {
                auto* const rules = dialog.findChild<QComboBox*>("rule");
                ASSERT_EQ(rules->count(), 4);
                rules->setCurrentIndex(rule);
                fnSet(dialog, "x", 90);
                fnSet(dialog, "y", 50);
                EXPECT_TRUE(fnWaitFor([&] { // not only the frame
                    const QPoint inside =
                        (fnView().fnToView({145, 120}) * fnView().devicePixelRatioF()).toPoint();
                    return fnLook().pixel(inside) != before.pixel(inside);
                })) << rule;
                shown = fnLook();
                fnAccept(dialog);
            });
            m_pWindow->fnMerge(path);
            QCoreApplication::processEvents();
            QImage done = fnLook();
            const double scale = fnView().devicePixelRatioF();
            frame = {fnView().fnToView({90, 50}) * scale, fnView().fnToView({210, 140}) * scale};
            const int line = static_cast<int>(2 * scale) + 1;
            int differ = 0;
            for (int y = 0; y < done.height(); ++y)
                for (int x = 0; x < done.width(); ++x) {
                    const bool onFrame = frame.adjusted(-line, -line, line, line).contains(x, y) &&
                                         !frame.adjusted(line, line, -line, -line).contains(x, y);
                    differ += !onFrame && done.pixel(x, y) != shown.pixel(x, y);
                }
            EXPECT_EQ(differ, 0) << "rule " << rule << " at " << zoom;
            fnDo("undo");
        }
        m_pWindow->fnGetDocument().SetModifiedFlag(false);
    }
}
