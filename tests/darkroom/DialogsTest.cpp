// The darkroom's dialogs other than those of operations.
#include "examples/darkroom/model/MemoryShare.h"
#include "examples/darkroom/ui/ColorButton.h"
#include "examples/darkroom/ui/NewDialog.h"
#include "examples/darkroom/ui/PreferencesDialog.h"
#include "examples/darkroom/ui/Texts.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/FailingAllocator.h"

#include <algorithm>
#include <cstdint>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <unistd.h>

namespace {

bool fnCanAccept(const QDialog& dialog) {
    return dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
}

} // namespace

TEST_F(DarkroomWindow, ANewPictureHasTheSizeAndColorOfTheDialog) {
    fnDo("new", [&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("width")->setValue(321);
        dialog.findChild<QSpinBox*>("height")->setValue(654);
        fnKeepPicture(dialog, "new");
        fnAccept(dialog);
    });
    CqImage& image = m_pWindow->fnGetDocument().fnGetImage();
    EXPECT_EQ(image.Width, 321u);
    EXPECT_EQ(image.Height, 654u);
    EXPECT_EQ(fnBytesOf(image), Bytes(321 * 654 * 3, 255));
    EXPECT_TRUE(m_pWindow->windowTitle().startsWith("Untitled"));
    fnDo("new", [](QDialog& dialog) { dialog.reject(); });
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetImage().Width, 321u);
}

TEST_F(DarkroomWindow, APictureOfFourGigabytesCannotBeRequested) {
    darkroom::NewDialog dialog;
    auto* const width = dialog.findChild<QSpinBox*>("width");
    auto* const height = dialog.findChild<QSpinBox*>("height");
    const auto* const bytes = dialog.findChild<QLabel*>("bytes");
    EXPECT_TRUE(fnCanAccept(dialog));
    const QString small = bytes->text();
    EXPECT_TRUE(small.contains("2.3"))
        << "1024 x 768 x 3 are 2.25 MiB, not " << small.toStdString();
    width->setValue(60000);
    height->setValue(60000);
    EXPECT_FALSE(fnCanAccept(dialog));
    EXPECT_NE(bytes->text(), small);
    // 3 * 60,000 * 23,860 = 4,294,800,000 bytes, the last height that fits into 32 bits.
    height->setValue(23861);
    EXPECT_FALSE(fnCanAccept(dialog));
    height->setValue(23860);
    EXPECT_TRUE(fnCanAccept(dialog));
}

TEST_F(DarkroomWindow, APictureCannotBeMadeLargerThanFourGigabytesEither) {
    darkroom::Document& document = m_pWindow->fnGetDocument();
    ASSERT_TRUE(document.fnNew(5000, 4500, CqColor(), nullptr).fnIsDone());
    fnDo("resize", [&](QDialog& dialog) {
        const auto* const bytes = dialog.findChild<QLabel*>("bytes");
        EXPECT_TRUE(bytes->text().startsWith("64"))
            << "67,500,000 bytes are 64.4 MiB, not " << bytes->text().toStdString();
        dialog.findChild<QCheckBox*>("proportions")->setChecked(false);
        dialog.findChild<QSpinBox*>("Width")->setValue(60000);
        dialog.findChild<QSpinBox*>("Height")->setValue(23861);
        EXPECT_FALSE(fnCanAccept(dialog));
        dialog.findChild<QSpinBox*>("Height")->setValue(23860);
        EXPECT_TRUE(fnCanAccept(dialog)) << "as for a new picture";
        dialog.findChild<QSpinBox*>("Height")->setValue(60000);
        EXPECT_FALSE(fnCanAccept(dialog));
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Reset)->click();
        EXPECT_TRUE(fnCanAccept(dialog));
        dialog.reject();
    });
    fnDo("resize", [&](QDialog& dialog) {
        auto* const percent = dialog.findChild<QSpinBox*>("percent");
        percent->setValue(800 * 100);
        EXPECT_FALSE(fnCanAccept(dialog)) << "40,000 x 36,000 pixels";
        percent->setValue(797 * 100);
        EXPECT_TRUE(fnCanAccept(dialog)) << "39,850 x 35,865 pixels are 4,287,660,750 bytes";
        dialog.reject();
    });
}

TEST_F(DarkroomWindow, TheLimitOfAPicturesSizeCountsItsDepth) {
    for (const auto& [bits, possible] : {std::pair(8u, true), std::pair(32u, false)}) {
        CqImage image;
        fnFillNoise(image, 60, 60, bits, 1, bits == 8 ? q32GreyRamp : nullptr);
        const QByteArray path = QFile::encodeName(fnPath("depth.png"));
        ASSERT_TRUE(q32WritePicture(path.constData(), image, PICTURE_PNG).fnIsDone());
        ASSERT_TRUE(m_pWindow->fnOpen(fnPath("depth.png")));
        fnDo("resize", [&, possible = possible](QDialog& dialog) {
            dialog.findChild<QSpinBox*>("Width")->setValue(60000);
            EXPECT_EQ(dialog.findChild<QSpinBox*>("Height")->value(), 60000);
            EXPECT_EQ(fnCanAccept(dialog), possible) << "3,600,000,000 pixels";
            dialog.reject();
        });
    }
}

TEST_F(DarkroomWindow, PreferencesTakeEffectAndOutliveTheProgram) {
    fnDo("preferences", [&](QDialog& dialog) {
        dialog.findChild<QLineEdit*>("disk2")->setText(m_Folder.path());
        dialog.findChild<QCheckBox*>("diskOn2")->setChecked(true);
        dialog.findChild<QCheckBox*>("shareOn")->setChecked(true);
        dialog.findChild<QSpinBox*>("share")->setValue(37);
        dialog.findChild<QSpinBox*>("levels")->setValue(3);
        dialog.findChild<QSpinBox*>("gamma")->setValue(220);
        dialog.findChild<QCheckBox*>("dither")->setChecked(false);
        fnAccept(dialog);
    });
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamBound(),
              darkroom::fnComputeLimit(darkroom::fnGetMachineMemory(), 37));
    for (const bool again : {false, true}) {
        if (again)
            fnRestart();
        EXPECT_TRUE(q32GetVMPolicy()->fnIsDiskEnabled(1)) << again;
        EXPECT_EQ(q32GetVMPolicy()->fnGetDisk(1),
                  CString(QFile::encodeName(m_Folder.path() + '\\')));
        EXPECT_EQ(q32GetVMPolicy()->fnGetMemUsage(), 37u) << again;
        EXPECT_EQ(q32GetDisplayProperty()->fnGetGammaValue(), 220u) << again;
        EXPECT_FALSE(q32GetDisplayProperty()->fnIsHiColorDitherEnabled()) << again;
        EXPECT_EQ(m_pWindow->fnGetDocument().fnGetLevels(), 3u) << again;
    }
}

TEST_F(DarkroomWindow, ScratchDisksTakeEffectAllOrNoneWhicheverAllocationFails) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    darkroom::PreferencesDialog dialog(3);
    for (const char* disk : {"2", "3"}) {
        dialog.findChild<QLineEdit*>(QString("disk") + disk)->setText(m_Folder.path());
        dialog.findChild<QCheckBox*>(QString("diskOn") + disk)->setChecked(true);
    }
    const auto prepare = [&] {
        for (unsigned int i = 1; i < CqVMPolicy::kDisks; ++i)
            policy.fnSetDisk(i, "");
        ASSERT_TRUE(policy.fnSerialize(false));
    };
    int refused = 0;
    fnFailEachAllocation(prepare, [&](CqAllocationFailure& failure) {
        int outcome = 0;
        EXPECT_NO_THROW(outcome = dialog.fnApply());
        const bool happened = failure.fnHappened();
        failure.fnEnd();
        EXPECT_EQ(policy.fnIsDiskEnabled(1), outcome != -1);
        EXPECT_EQ(policy.fnIsDiskEnabled(2), outcome != -1);
        EXPECT_TRUE(happened || outcome == 0);
        refused += outcome == -1;
    });
    EXPECT_GT(refused, 1);
}

TEST_F(DarkroomWindow, TheShareInForceIsShownWithItsSizeInBytes) {
    CqVMPolicy& policy = *q32GetVMPolicy();
    policy.fnEnableMemUsage(false);
    policy.fnSetMemUsage(100);
    darkroom::fnApplyMemoryShare();
    darkroom::PreferencesDialog dialog(3);
    auto* const on = dialog.findChild<QCheckBox*>("shareOn");
    auto* const share = dialog.findChild<QSpinBox*>("share");
    const auto* const bytes = dialog.findChild<QLabel*>("shareBytes");
    const auto expect = [&](unsigned int percent) {
        EXPECT_EQ(share->value(), static_cast<int>(percent));
        EXPECT_EQ(bytes->text(), darkroom::fnFormatSize(darkroom::fnComputeLimit(
                                     darkroom::fnGetMachineMemory(), percent)));
    };
    expect(darkroom::kUsualShare);
    EXPECT_EQ(bytes->text(), darkroom::fnFormatSize(policy.fnGetRamBound()));
    on->setChecked(true);
    for (const unsigned int percent : {1u, 3u, 20u}) {
        share->setValue(static_cast<int>(percent));
        expect(percent);
    }
    on->setChecked(false);
    expect(darkroom::kUsualShare);
    EXPECT_EQ(dialog.fnApply(), 0);
    EXPECT_EQ(bytes->text(), darkroom::fnFormatSize(policy.fnGetRamBound()));
}

TEST_F(DarkroomWindow, AnUnusableScratchFolderIsRefused) {
    QFile file(fnPath("file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    darkroom::PreferencesDialog dialog(3);
    auto* const path = dialog.findChild<QLineEdit*>("disk2");
    auto* const on = dialog.findChild<QCheckBox*>("diskOn2");
    EXPECT_TRUE(fnCanAccept(dialog));
    path->setText(m_Folder.path());
    on->setChecked(true);
    EXPECT_TRUE(fnCanAccept(dialog));
    for (const QString& bad : {fnPath("nowhere"), file.fileName()}) {
        path->setText(bad);
        on->setChecked(true);
        EXPECT_FALSE(fnCanAccept(dialog)) << bad.toStdString();
        on->setChecked(false);
        EXPECT_TRUE(fnCanAccept(dialog)) << "one that is off may be away";
    }
}

TEST_F(DarkroomWindow, AScratchPathIsMeasuredInBytes) {
    darkroom::PreferencesDialog dialog(3);
    auto* const path = dialog.findChild<QLineEdit*>("disk2");
    path->setText('/' + QString(257, 'a'));
    EXPECT_TRUE(fnCanAccept(dialog)) << "258 bytes, off";
    path->setText('/' + QString(258, 'a'));
    EXPECT_FALSE(fnCanAccept(dialog)) << "the library would keep the former path";
    path->setText('/' + QString(200, QChar(0xE9)));
    EXPECT_FALSE(fnCanAccept(dialog)) << "401 bytes in 201 signs";
}

TEST_F(DarkroomWindow, ASecondPictureIsMergedWhereTheDialogSays) {
    const QString over = fnMakePicture("over.png", 60, 50);
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("under.png", 300, 200)));
    CqImage expected;
    CqImage laid;
    q32ReadPicture(QFile::encodeName(fnPath("under.png")).constData(), expected);
    q32ReadPicture(QFile::encodeName(over).constData(), laid);
    expected.fnCopyBlock(laid, nullptr, 40, 70);
    fnInDialog([&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("x")->setValue(40);
        dialog.findChild<QSpinBox*>("y")->setValue(70);
        fnAccept(dialog);
    });
    m_pWindow->fnMerge(over);
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), fnBytesOf(expected));
}

TEST_F(DarkroomWindow, ASecondPictureIsMergedByAKeyColorAndBySelection) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("under.png", 300, 200)));
    darkroom::Document& document = m_pWindow->fnGetDocument();
    const std::vector<CqPoint2D> corners = {{50, 60}, {110, 130}};
    ASSERT_TRUE(document
                    .fnSelectShape(darkroom::ShapeKind::ELLIPSE, corners,
                                   darkroom::Document::Combine::REPLACE, nullptr)
                    .fnIsDone());
    // A picture of two colours: every third pixel has the key colour.
    const CqColor key(12, 200, 7, 255);
    CqImage over;
    over.fnAlloc(60, 50, 24, nullptr, 0);
    const CRect all(0, 0, 60, 50);
    over.fnFill(CqColor(90, 80, 70, 255), &all, false);
    for (int i = 0; i < 60 * 50; i += 3)
        over.fnSetPixelColor(i % 60, i / 60, key);
    const QString path = fnPath("over.png");
    ASSERT_TRUE(q32WritePicture(QFile::encodeName(path).constData(), over, PICTURE_PNG).fnIsDone());
    const Bytes before = fnBytesOf(document.fnGetImage());
    const Bytes laid = fnBytesOf(over);
    for (const char* rule : {"All but a key color", "Inside the selection"}) {
        const bool byKey = rule[0] == 'A';
        Bytes expected = before;
        for (int y = 0; y < 50; ++y)
            for (int x = 0; x < 60; ++x) {
                const bool shown = byKey ? (y * 60 + x) % 3 != 0
                                         : fnHas(document.fnGetSelection(), x + 40, y + 70);
                if (shown)
                    std::copy_n(&laid[static_cast<std::size_t>(y * 60 + x) * 3], 3,
                                &expected[static_cast<std::size_t>((y + 70) * 300 + x + 40) * 3]);
            }
        fnInDialog([&](QDialog& dialog) {
            auto* const rules = dialog.findChild<QComboBox*>("rule");
            rules->setCurrentText(rule);
            ASSERT_EQ(rules->currentText(), rule);
            auto* const button = dialog.findChild<darkroom::ColorButton*>("key");
            EXPECT_EQ(button->isEnabled(), byKey);
            button->fnSetColor(key);
            dialog.findChild<QSpinBox*>("x")->setValue(40);
            dialog.findChild<QSpinBox*>("y")->setValue(70);
            fnAccept(dialog);
        });
        m_pWindow->fnMerge(path);
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), expected) << rule;
        EXPECT_EQ(document.fnGetUndoName(), "Merge");
        fnDo("undo");
        EXPECT_EQ(fnBytesOf(document.fnGetImage()), before) << rule;
        ASSERT_TRUE(document.fnHasSelection()) << "nothing has moved";
    }
}

TEST_F(DarkroomWindow, ThePictureIsCroppedToTheSelectionThroughTheMenu) {
    EXPECT_FALSE(fnAction("crop").isEnabled());
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("cropped.png", 300, 200)));
    EXPECT_FALSE(fnAction("crop").isEnabled()) << "without a selection";
    darkroom::Document& document = m_pWindow->fnGetDocument();
    const Bytes before = fnBytesOf(document.fnGetImage());
    m_pWindow->fnGetView().fnSetZoom(1);
    fnDo("toolEllipse");
    const auto at = [&](int x, int y) {
        return m_pWindow->fnGetView().fnToView(QPointF(x, y)).toPoint();
    };
    fnDrag(at(50, 40), at(210, 150));
    ASSERT_TRUE(document.fnHasSelection());
    const CRect bound = document.fnGetSelection().m_rectBound;
    fnDo("crop");
    CqImage& image = document.fnGetImage();
    ASSERT_EQ(CSize(static_cast<int>(image.Width), static_cast<int>(image.Height)), bound.Size());
    Bytes expected;
    for (LONG y = bound.top; y < bound.bottom; ++y)
        expected.insert(expected.end(), before.begin() + (y * 300 + bound.left) * 3,
                        before.begin() + (y * 300 + bound.right) * 3);
    EXPECT_EQ(fnBytesOf(image), expected);
    EXPECT_FALSE(document.fnHasSelection());
    EXPECT_FALSE(fnAction("crop").isEnabled());
    EXPECT_TRUE(fnAction("undo").text().contains("Crop to Selection"));
    fnDo("undo");
    EXPECT_EQ(fnBytesOf(image), before);
}

TEST_F(DarkroomWindow, APatternIsTiledOverThePictureThroughTheMenu) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("tiled.png", 30, 20)));
    const QString pattern = fnMakePicture("pattern.png", 7, 5);
    fnDo("fillPattern", [&](QDialog& dialog) {
        fnInDialog([&](QDialog& next) {
            next.findChild<QSpinBox*>("x")->setValue(3);
            next.findChild<QSpinBox*>("y")->setValue(4);
            fnAccept(next);
        });
        fnType(dialog, pattern);
    });
    CqImage tile;
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(pattern).constData(), tile).fnIsDone());
    CqImage& image = m_pWindow->fnGetDocument().fnGetImage();
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x)
            ASSERT_EQ(image.fnGetPixelColor(x, y), tile.fnGetPixelColor((x + 4) % 7, (y + 1) % 5));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Fill with Pattern");
}
