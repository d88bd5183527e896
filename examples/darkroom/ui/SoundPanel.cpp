#include "examples/darkroom/ui/SoundPanel.h"

#include "examples/darkroom/model/Progress.h"
#include "examples/sound/WholeOscillogram.h"
#include "platforms/qt/CqImageView.h"
#include "plugins/WaveFile.h"
#include "q32Base/framework/Exceptions.h"
#include "q32Base/messages/Messages.h"
#include "q32Base/messages/ReportMemory.h"

#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QSocketNotifier>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

namespace darkroom {

namespace {

constexpr unsigned int kMixerId = 1;
constexpr unsigned int kMixerStep = 8;
constexpr int kPictureWidth = 320;
constexpr int kPictureHeight = 120;
constexpr int kWatchMs = 100;

QString fnDescribeChannels(unsigned int channels) {
    return channels == 1   ? QObject::tr("mono")
           : channels == 2 ? QObject::tr("stereo")
                           : QObject::tr("%1 channels").arg(channels);
}

} // namespace

LRESULT SoundPanel::Owner::SendMessage(UINT message, WPARAM, LPARAM) {
    if (message == WM_NOTIFY)
        m_Panel.fnFollowMixer();
    return 0;
}

SoundPanel::SoundPanel(const HostSetup& setup, Run run, QWidget* parent)
    : QWidget(parent), m_Run(std::move(run)), m_Owner(*this), m_pView(new CqImageView),
      m_pName(new QLabel) {
    auto* const layout = new QVBoxLayout(this);
    m_pName->setText(tr("No sound"));
    layout->addWidget(m_pName);
    m_pView->setAccessibleName(tr("Oscillogram"));
    m_pView->setFixedSize(kPictureWidth + 2 * m_pView->frameWidth(),
                          kPictureHeight + 2 * m_pView->frameWidth());
    // Drawn in screen pixels, whose number changes when the view moves to another screen.
    connect(m_pView, &CqImageView::visibleChanged, this, &SoundPanel::fnFit);
    m_pView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_pView->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    layout->addWidget(m_pView);
    auto* const row = new QHBoxLayout;
    fnAddButtons(*row);
    layout->addLayout(row);
    layout->addWidget(fnMakeMixer(setup));
    layout->addStretch();
    connect(&m_Watch, &QTimer::timeout, this, &SoundPanel::fnFollow);
    fnFollow();
}

SoundPanel::~SoundPanel() {
    m_pView->fnSetImage(nullptr);
    m_Wave.fnStop();
}

void SoundPanel::fnAddButtons(QHBoxLayout& row) {
    const auto add = [&](const char* name, const QString& tip, QStyle::StandardPixmap icon) {
        auto* const button = new QToolButton;
        button->setObjectName(name);
        button->setIcon(style()->standardIcon(icon));
        button->setToolTip(tip);
        button->setAccessibleName(tip);
        row.addWidget(button);
        return button;
    };
    m_pOpen = add("soundOpen", tr("Load a sound"), QStyle::SP_DialogOpenButton);
    m_pPlay = add("soundPlay", tr("Play"), QStyle::SP_MediaPlay);
    m_pPause = add("soundPause", tr("Pause"), QStyle::SP_MediaPause);
    m_pStop = add("soundStop", tr("Stop"), QStyle::SP_MediaStop);
    m_pLoop =
        add("soundLoop", tr("Again and again, from the next start"), QStyle::SP_BrowserReload);
    m_pLoop->setCheckable(true);
    row.addStretch();
    connect(m_pOpen, &QToolButton::clicked, this,
            [this] { q32::fnReportMemory([&] { fnAsk(); }); });
    connect(m_pPlay, &QToolButton::clicked, this,
            [this] { q32::fnReportMemory([&] { fnPlay(); }); });
    connect(m_pPause, &QToolButton::clicked, this, [this] {
        m_Wave.fnPause();
        fnFollow();
    });
    connect(m_pStop, &QToolButton::clicked, this, [this] {
        m_Wave.fnStop();
        fnFollow();
    });
}

QWidget* SoundPanel::fnMakeMixer(const HostSetup& setup) {
    auto* const mixer = new QWidget;
    auto* const form = new QFormLayout(mixer);
    form->setContentsMargins(0, 0, 0, 0);
    m_Mixer.fnCreate(&m_Owner, kMixerId, kMixerStep);
    const auto add = [&](const char* id, const QString& name, bool there, auto get, auto set) {
        auto* const slider = new QSlider(Qt::Horizontal);
        slider->setObjectName(id);
        slider->setRange(0, 255);
        slider->setEnabled(there);
        form->addRow(name, slider);
        const Level level{slider, get, set};
        connect(slider, &QSlider::valueChanged, this,
                [this, level](int value) { (m_Mixer.*level.m_pSet)(value); });
        m_Levels.push_back(level);
    };
    using Set = bool (CqSoundCtrl::*)(int);
    add("soundVolume", tr("Volume"), m_Mixer.fnCanHandleVolume(), &CqSoundCtrl::fnGetVolume,
        static_cast<Set>(&CqSoundCtrl::fnSetVolume));
    add("soundBalance", tr("Balance"), m_Mixer.fnCanHandleVolume(), &CqSoundCtrl::fnGetBalance,
        static_cast<Set>(&CqSoundCtrl::fnSetBalance));
    add("soundBass", tr("Bass"), m_Mixer.fnCanHandleBass(), &CqSoundCtrl::fnGetBass,
        static_cast<Set>(&CqSoundCtrl::fnSetBass));
    add("soundTreble", tr("Treble"), m_Mixer.fnCanHandleTreble(), &CqSoundCtrl::fnGetTreble,
        static_cast<Set>(&CqSoundCtrl::fnSetTreble));
    m_pMute = new QCheckBox(tr("Mute"));
    m_pMute->setObjectName("soundMute");
    m_pMute->setEnabled(m_Mixer.fnCanHandleMute());
    connect(m_pMute, &QCheckBox::toggled, this, [this](bool on) { m_Mixer.fnSetMute(on); });
    form->addRow(QString(), m_pMute);
    if (setup.m_nMixerDescriptor >= 0) {
        auto* const notifier =
            new QSocketNotifier(setup.m_nMixerDescriptor, QSocketNotifier::Read, this);
        connect(notifier, &QSocketNotifier::activated, this, setup.m_PumpMixers);
    }
    fnFollowMixer();
    return mixer;
}

void SoundPanel::fnFollowMixer() {
    // External changes must not be sent back: a slider is coarser than the mixer.
    for (const Level& level : m_Levels) {
        const QSignalBlocker blocker(level.m_pSlider);
        level.m_pSlider->setValue(static_cast<int>((m_Mixer.*level.m_pGet)()));
    }
    if (m_pMute) {
        const QSignalBlocker blocker(m_pMute);
        m_pMute->setChecked(m_Mixer.fnGetMute());
    }
}

void SoundPanel::fnAsk() {
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Load a Sound"), {}, tr("Sounds (*.wav)"));
    if (!path.isEmpty())
        fnLoad(path);
}

bool SoundPanel::fnLoad(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    CqWave fresh;
    bool reduced = false;
    const bool done = m_Run(tr("Loading %1").arg(name), [&](CqProgressDisplay* progress) {
        PictureProgress pictureProgress(progress);
        Outcome outcome = q32ReadWave(QFile::encodeName(path).constData(), fresh, &pictureProgress);
        reduced = outcome.m_bReduced;
        return outcome;
    });
    if (!done)
        return false;
    m_Wave.fnStop();
    m_Wave.fnSwapBuf(fresh);
    const WAVEFORMATEX format = m_Wave.fnGetFormat();
    const double seconds = static_cast<double>(m_Wave.fnGetFrameCount()) / format.nSamplesPerSec;
    // A single call: a name may itself contain place markers.
    m_pName->setText(
        tr("%1: %2 s, %3 Hz, %4 bits, %5")
            .arg(name, QString::number(seconds, 'f', 1), QString::number(format.nSamplesPerSec),
                 reduced ? tr("reduced to 16") : QString::number(format.wBitsPerSample),
                 fnDescribeChannels(format.nChannels)));
    fnDraw();
    fnFollow();
    return true;
}

void SoundPanel::fnEnableLoading(bool on) {
    m_pOpen->setEnabled(on);
}

void SoundPanel::fnDraw() {
    m_pView->fnSetImage(nullptr);
    q32::fnReportMemory([&] {
        const QSize size = m_pView->fnGetPixelSize();
        m_Picture.fnAlloc(static_cast<unsigned int>(size.width()),
                          static_cast<unsigned int>(size.height()), 24, nullptr, 0);
        fnDrawOscillogram(m_Wave, m_Picture);
        m_pView->fnSetImage(&m_Picture);
    });
}

void SoundPanel::fnFit() {
    const QSize size = m_pView->fnGetPixelSize();
    if (m_pView->fnGetImage() && !size.isEmpty() &&
        size != QSize(static_cast<int>(m_Picture.Width), static_cast<int>(m_Picture.Height)))
        fnDraw();
}

void SoundPanel::fnPlay() {
    if (!m_Wave.fnPlay(false, m_pLoop->isChecked()))
        m_pName->setText(tr("No sound device plays this, or none is there."));
    fnFollow();
}

void SoundPanel::fnFollow() {
    const bool loaded = m_Wave.fnGetBuffer() != nullptr;
    const WAVE_STATE state = m_Wave.fnGetState();
    m_pPlay->setEnabled(loaded && state != WAVE_PLAYING);
    m_pPause->setEnabled(state == WAVE_PLAYING);
    m_pStop->setEnabled(state != WAVE_STOPPED);
    m_pLoop->setEnabled(loaded);
    state == WAVE_PLAYING ? m_Watch.start(kWatchMs) : m_Watch.stop();
}

} // namespace darkroom
