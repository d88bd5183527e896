// The darkroom's dialogs that are no operations.
#include "examples/darkroom/model/MemoryShare.h"
#include "examples/darkroom/ui/NewDialog.h"
#include "examples/darkroom/ui/PreferencesDialog.h"
#include "examples/darkroom/ui/Texts.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/memory/CqVMPolicy.h"
#include "tests/darkroom/DarkroomWorld.h"
#include "tests/darkroom/PictureTools.h"
#include "tests/support/FailingAllocator.h"

#include <cstdint>
#include <QCheckBox>
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

TEST_F(DarkroomWindow, ANewPictureHasTheSizeAndColorThatTheDialogAsks) {
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

TEST_F(DarkroomWindow, APictureOfFourGigabytesCannotBeAskedFor) {
    darkroom::NewDialog dialog;
    auto* const width = dialog.findChild<QSpinBox*>("width");
    auto* const height = dialog.findChild<QSpinBox*>("height");
    const auto* const bytes = dialog.findChild<QLabel*>("bytes");
    EXPECT_TRUE(fnCanAccept(dialog));
    const QString small = bytes->text();
    EXPECT_TRUE(small.contains("2.3")) << "1024 x 768 x 3 are 2.25 MB, not " << small.toStdString();
    width->setValue(60000);
    height->setValue(60000);
    EXPECT_FALSE(fnCanAccept(dialog));
    EXPECT_NE(bytes->text(), small);
    // 3 * 60,000 * 23,860 are 4,294,800,000 bytes, the last row that fits into 32 bits.
    height->setValue(23861);
    EXPECT_FALSE(fnCanAccept(dialog));
    height->setValue(23860);
    EXPECT_TRUE(fnCanAccept(dialog));
}

TEST_F(DarkroomWindow, PreferencesAreInForceAndOutliveTheProgram) {
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
    const long pages = ::sysconf(_SC_PHYS_PAGES);
    const auto memory =
        static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    EXPECT_EQ(q32GetVMPolicy()->fnGetRamLimit(), darkroom::fnComputeLimit(memory, 37));
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

TEST_F(DarkroomWindow, ScratchDisksComeInForceAllOrNoneWhicheverAllocationFails) {
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

TEST_F(DarkroomWindow, TheShareThatIsInForceIsShownAndWhatItComesTo) {
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
        EXPECT_EQ(bytes->text(), darkroom::fnTellSize(darkroom::fnComputeLimit(
                                     darkroom::fnGetMachineMemory(), percent)));
    };
    expect(darkroom::kUsualShare);
    EXPECT_EQ(bytes->text(), darkroom::fnTellSize(policy.fnGetRamLimit()));
    on->setChecked(true);
    for (const unsigned int percent : {1u, 3u, 20u}) {
        share->setValue(static_cast<int>(percent));
        expect(percent);
    }
    on->setChecked(false);
    expect(darkroom::kUsualShare);
    EXPECT_EQ(dialog.fnApply(), 0);
    EXPECT_EQ(bytes->text(), darkroom::fnTellSize(policy.fnGetRamLimit()));
}

TEST_F(DarkroomWindow, AScratchFolderThatCannotBeUsedIsRefused) {
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
    CqImage wanted;
    CqImage laid;
    q32ReadPicture(QFile::encodeName(fnPath("under.png")).constData(), wanted);
    q32ReadPicture(QFile::encodeName(over).constData(), laid);
    wanted.fnCopyBlock(laid, nullptr, 40, 70);
    fnInDialog([&](QDialog& dialog) {
        dialog.findChild<QSpinBox*>("x")->setValue(40);
        dialog.findChild<QSpinBox*>("y")->setValue(70);
        fnAccept(dialog);
    });
    m_pWindow->fnMerge(over);
    EXPECT_EQ(fnBytesOf(m_pWindow->fnGetDocument().fnGetImage()), fnBytesOf(wanted));
}

TEST_F(DarkroomWindow, APatternIsTiledOverThePictureThroughTheMenu) {
    ASSERT_TRUE(m_pWindow->fnOpen(fnMakePicture("tiled.png", 30, 20)));
    const QString pattern = fnMakePicture("pattern.png", 7, 5);
    fnDo("fillPattern", [&](QDialog& dialog) { fnType(dialog, pattern); });
    CqImage tile;
    ASSERT_TRUE(q32ReadPicture(QFile::encodeName(pattern).constData(), tile).fnIsDone());
    CqImage& image = m_pWindow->fnGetDocument().fnGetImage();
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 30; ++x)
            ASSERT_EQ(image.fnGetPixelColor(x, y), tile.fnGetPixelColor(x % 7, y % 5));
    EXPECT_EQ(m_pWindow->fnGetDocument().fnGetUndoName(), "Fill with Pattern");
}
