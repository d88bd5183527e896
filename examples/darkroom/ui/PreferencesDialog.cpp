#include "examples/darkroom/ui/PreferencesDialog.h"

#include "examples/darkroom/model/History.h"
#include "examples/darkroom/model/MemoryShare.h"
#include "examples/darkroom/ui/DecimalBox.h"
#include "examples/darkroom/ui/Texts.h"
#include "q32Base/display/CqDisplayProperty.h"
#include "q32Base/framework/Memory.h"
#include "q32Base/memory/CqVMPolicy.h"

#include <algorithm>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QSpinBox>
#include <QStorageInfo>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

namespace darkroom {

namespace {

constexpr int kMaxGamma = 799;
constexpr int kGammaScale = 100;
constexpr int kNoMemory = -1;
constexpr int kNotSaved = -5;
constexpr int kPathWidth = 280;
constexpr int kMaxTypedBytes = kMaxPathBytes - 2; // the library adds a separator

} // namespace

PreferencesDialog::PreferencesDialog(unsigned int levels, QWidget* parent, const QString& language)
    : QDialog(parent) {
    setWindowTitle(tr("Preferences"));
    auto* const layout = new QVBoxLayout(this);
    auto* const tabs = new QTabWidget;
    tabs->addTab(fnMakeMemoryPage(levels), tr("&Memory"));
    tabs->addTab(fnMakeScreenPage(language), tr("&Screen"));
    tabs->setAccessibleName(tr("Pages"));
    tabs->tabBar()->setAccessibleName(tabs->accessibleName());
    layout->addWidget(tabs);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    m_pOk = buttons->button(QDialogButtonBox::Ok);
    fnShowDisks();
}

QWidget* PreferencesDialog::fnMakeMemoryPage(unsigned int levels) {
    const CqVMPolicy& policy = *q32GetVMPolicy();
    auto* const page = new QWidget;
    auto* const layout = new QVBoxLayout(page);
    auto* const title =
        new QLabel(tr("Scratch disks hold what doesn't fit into memory, the first one first:"));
    layout->addWidget(title);
    auto* const grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    layout->addLayout(grid);
    for (unsigned int i = 0; i < CqVMPolicy::kDisks; ++i)
        fnAddDisk(i, *grid);

    auto* const form = new QFormLayout;
    layout->addLayout(form);
    m_pShareOn = new QCheckBox(tr("Pictures may take this share of the memory:"));
    m_pShareOn->setObjectName("shareOn");
    m_pShareOn->setChecked(policy.fnIsMemEnabled());
    m_pShare = new QSpinBox;
    m_pShare->setObjectName("share");
    m_pShare->setRange(1, 100);
    m_pShare->setSuffix(" %");
    m_pShare->setAccessibleName(tr("Share of the memory"));
    m_pShareBytes = new QLabel;
    m_pShareBytes->setObjectName("shareBytes");
    // Without a share set by the user, the default applies.
    m_pShare->setValue(
        static_cast<int>(policy.fnIsMemEnabled() ? policy.fnGetMemUsage() : kUsualShare));
    m_pShare->setEnabled(policy.fnIsMemEnabled());
    connect(m_pShareOn, &QCheckBox::toggled, this, [this](bool on) {
        m_pShare->setEnabled(on);
        if (!on)
            m_pShare->setValue(static_cast<int>(kUsualShare));
    });
    connect(m_pShare, &QSpinBox::valueChanged, this, &PreferencesDialog::fnShowShare);
    form->addRow(m_pShareOn, m_pShare);
    form->addRow(tr("That is:"), m_pShareBytes);
    fnShowShare();
    m_pLevels = new QSpinBox;
    m_pLevels->setObjectName("levels");
    m_pLevels->setRange(0, static_cast<int>(kMaxLevels));
    m_pLevels->setValue(static_cast<int>(levels));
    form->addRow(tr("Steps that can be undone:"), m_pLevels);
    return page;
}

QWidget* PreferencesDialog::fnMakeScreenPage(const QString& language) {
    const CqDisplayProperty& display = *q32GetDisplayProperty();
    auto* const page = new QWidget;
    auto* const form = new QFormLayout(page);
    m_pGammaOn = new QCheckBox(tr("Correct the screen's gamma"));
    m_pGammaOn->setObjectName("gammaOn");
    m_pGammaOn->setChecked(display.fnIsGammaEnabled());
    form->addRow(m_pGammaOn);
    m_pGamma = new DecimalBox(kGammaScale);
    m_pGamma->setObjectName("gamma");
    m_pGamma->setRange(1, kMaxGamma);
    m_pGamma->setSingleStep(kGammaScale / 10);
    m_pGamma->setValue(static_cast<int>(display.fnGetGammaValue()));
    m_pGamma->setEnabled(display.fnIsGammaEnabled());
    m_pGamma->setToolTip(tr("%1 leaves the colors as they are; more is brighter.")
                             .arg(QLocale().toString(1.8, 'f', 1)));
    connect(m_pGammaOn, &QCheckBox::toggled, m_pGamma, &QWidget::setEnabled);
    form->addRow(tr("Gamma:"), m_pGamma);
    m_pDither = new QCheckBox(tr("Dither on screens of 16 bits"));
    m_pDither->setObjectName("dither");
    m_pDither->setChecked(display.fnIsHiColorDitherEnabled());
    form->addRow(m_pDither);
    m_pLanguage = new QComboBox;
    m_pLanguage->setObjectName("language");
    m_pLanguage->addItem(tr("As the system"), QString());
    m_pLanguage->addItem("English", "en");
    m_pLanguage->addItem("Deutsch", "de");
    m_pLanguage->setCurrentIndex(std::max(0, m_pLanguage->findData(language)));
    m_pLanguage->setToolTip(tr("After the next start"));
    form->addRow(tr("Language:"), m_pLanguage);
    return page;
}

void PreferencesDialog::fnAddDisk(unsigned int index, QGridLayout& grid) {
    const CqVMPolicy& policy = *q32GetVMPolicy();
    const QString number = QString::number(index + 1);
    const Disk disk{new QCheckBox(tr("Disk %1").arg(number)), new QLineEdit, new QLabel};
    disk.m_pOn->setObjectName("diskOn" + number);
    disk.m_pPath->setObjectName("disk" + number);
    disk.m_pPath->setMinimumWidth(kPathWidth);
    disk.m_pOn->setChecked(policy.fnIsDiskEnabled(index));
    disk.m_pPath->setText(fnGetDiskFolder(index));
    disk.m_pPath->setAccessibleName(tr("Folder of disk %1").arg(number));
    auto* const browse = new QPushButton(tr("Browse…"));
    browse->setAccessibleName(tr("Browse for disk %1").arg(number));
    connect(browse, &QPushButton::clicked, this, [this, disk] { fnBrowse(disk); });
    connect(disk.m_pPath, &QLineEdit::textChanged, this, &PreferencesDialog::fnShowDisks);
    connect(disk.m_pOn, &QCheckBox::toggled, this, &PreferencesDialog::fnShowDisks);
    const int row = static_cast<int>(index);
    grid.addWidget(disk.m_pOn, row, 0);
    grid.addWidget(disk.m_pPath, row, 1);
    grid.addWidget(browse, row, 2);
    grid.addWidget(disk.m_pFree, row, 3);
    m_Disks.push_back(disk);
}

void PreferencesDialog::fnBrowse(const Disk& disk) {
    const QString chosen =
        QFileDialog::getExistingDirectory(this, tr("Scratch Disk"), disk.m_pPath->text());
    if (!chosen.isEmpty()) {
        disk.m_pPath->setText(chosen);
        disk.m_pOn->setChecked(true);
    }
}

QString PreferencesDialog::fnFindFault(const Disk& disk) {
    const QString path = disk.m_pPath->text();
    if (QFile::encodeName(path).size() > kMaxTypedBytes)
        return tr("path too long");
    if (path.isEmpty())
        return {};
    const QFileInfo folder(path);
    if (!folder.isDir())
        return tr("not there");
    return folder.isWritable() ? QString() : tr("can't be written");
}

void PreferencesDialog::fnShowDisks() {
    bool usable = true;
    for (const Disk& disk : m_Disks) {
        const QString path = disk.m_pPath->text();
        const QString fault = fnFindFault(disk);
        disk.m_pOn->setEnabled(!path.isEmpty());
        if (!fault.isEmpty() || path.isEmpty())
            disk.m_pFree->setText(fault);
        else
            disk.m_pFree->setText(tr("%1 free").arg(
                fnFormatSize(static_cast<std::uint64_t>(QStorageInfo(path).bytesAvailable()))));
        // A disabled disk may be absent for a while, but its path is kept.
        usable = usable && (fault.isEmpty() || (!disk.m_pOn->isChecked() &&
                                                QFile::encodeName(path).size() <= kMaxTypedBytes));
    }
    m_pOk->setEnabled(usable);
}

void PreferencesDialog::fnShowShare() {
    const std::uint64_t memory = fnGetMachineMemory();
    m_pShareBytes->setText(fnFormatSize(
        memory == 0 ? q32GetVMPolicy()->fnGetRamBound()
                    : fnComputeLimit(memory, static_cast<unsigned int>(m_pShare->value()))));
}

QString PreferencesDialog::fnGetLanguage() const {
    return m_pLanguage->currentData().toString();
}

unsigned int PreferencesDialog::fnGetLevels() const {
    return static_cast<unsigned int>(m_pLevels->value());
}

int PreferencesDialog::fnApply() const {
    CqVMPolicy& policy = *q32GetVMPolicy();
    const bool set = q32::fnTryMemory([&] {
        for (unsigned int i = 0; i < m_Disks.size(); ++i) {
            const QString path = m_Disks[i].m_pPath->text();
            // An empty path disables a disk, so the switch comes after it.
            policy.fnSetDisk(i, QFile::encodeName(path).constData());
            policy.fnEnableDisk(i, !path.isEmpty() && m_Disks[i].m_pOn->isChecked());
        }
    });
    if (!set) {
        policy.fnSerialize(true); // never some of the disks without the others
        fnApplyMemoryShare();
        return kNoMemory;
    }
    policy.fnEnableMemUsage(m_pShareOn->isChecked());
    policy.fnSetMemUsage(static_cast<unsigned int>(m_pShare->value()));
    CqDisplayProperty& display = *q32GetDisplayProperty();
    display.fnEnableHiColorDither(m_pDither->isChecked());
    // Enabling gamma starts without a value, and a disabled one accepts none.
    if (m_pGammaOn->isChecked() != display.fnIsGammaEnabled())
        display.fnEnableGamma(m_pGammaOn->isChecked());
    if (display.fnIsGammaEnabled())
        display.fnSetGammaValue(static_cast<unsigned int>(m_pGamma->value()));
    bool saved = false;
    q32::fnTryMemory([&] { saved = policy.fnSerialize(false) && display.fnSerialize(false); });
    fnApplyMemoryShare();
    return saved ? 0 : kNotSaved;
}

} // namespace darkroom
