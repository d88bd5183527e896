#pragma once

#include "examples/darkroom/model/Document.h"
#include "examples/darkroom/ui/HostSetup.h"
#include "q32Base/image/CqImage.h"
#include "q32Base/sound/CqSoundCtrl.h"
#include "q32Base/sound/CqWave.h"

#include <functional>
#include <QTimer>
#include <QWidget>
#include <vector>

class CqImageView;
class QCheckBox;
class QHBoxLayout;
class QLabel;
class QSlider;
class QToolButton;

namespace darkroom {

/// Loads a sound, shows its oscillogram, plays it, and controls the machine's mixer. The sliders
/// follow external changes.
class SoundPanel : public QWidget {
    Q_OBJECT

public:
    /// Runs a task while nothing else can be started, and shows its progress and final message;
    /// false when it wasn't completed.
    using Run =
        std::function<bool(const QString& what, const std::function<Outcome(CqProgressDisplay*)>&)>;

    SoundPanel(const HostSetup& setup, Run run, QWidget* parent = nullptr);
    ~SoundPanel() override;

    /// When it can't be read, or the user aborts, the former sound stays and continues to play.
    bool fnLoad(const QString& path);
    /// Whether a sound may be loaded now.
    void fnEnableLoading(bool on);
    const CqWave& fnGetWave() const { return m_Wave; }

private:
    /// Receives the messages of the mixer's control.
    class Owner : public CWnd {
    public:
        explicit Owner(SoundPanel& panel) : m_Panel(panel) {}
        CRect GetClientRect() const override { return {0, 0, 0, 0}; }
        LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
        void InvalidateRect(const RECT*, bool) override {}
        bool IsWindow() const override { return true; }

    private:
        SoundPanel& m_Panel;
    };
    /// A mixer value with its slider.
    struct Level {
        QSlider* m_pSlider;
        unsigned int (CqSoundCtrl::*m_pGet)() const;
        bool (CqSoundCtrl::*m_pSet)(int);
    };

    void fnAddButtons(QHBoxLayout& row);
    QWidget* fnMakeMixer(const HostSetup& setup);
    void fnAsk();
    void fnPlay();
    void fnDraw();
    void fnFit();
    void fnFollow();
    void fnFollowMixer();

    const Run m_Run;
    CqWave m_Wave;
    CqImage m_Picture; ///< the oscillogram, in screen pixels
    Owner m_Owner;
    CqSoundCtrl m_Mixer;
    std::vector<Level> m_Levels;
    CqImageView* m_pView;
    QLabel* m_pName;
    QToolButton* m_pOpen = nullptr;
    QToolButton* m_pPlay = nullptr;
    QToolButton* m_pPause = nullptr;
    QToolButton* m_pStop = nullptr;
    QToolButton* m_pLoop = nullptr;
    QCheckBox* m_pMute = nullptr;
    QTimer m_Watch; ///< the end of a sound is reported on the device's thread; the buttons poll it
};

} // namespace darkroom
