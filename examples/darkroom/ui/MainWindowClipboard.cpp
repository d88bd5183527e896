// Copying and pasting.
#include "examples/darkroom/ui/MainWindow.h"

#include <algorithm>
#include <QStatusBar>
#include <utility>

namespace darkroom {

namespace {

/// The place in a picture at which a clip appears: where it was copied from if that is in sight,
/// otherwise in the middle of what is.
CPoint fnFindPlace(const Clip& clip, const CqImage& image, const CRect& visible) {
    const CSize size(static_cast<LONG>(clip.m_Image.Width), static_cast<LONG>(clip.m_Image.Height));
    CRect seen;
    if (clip.m_Origin && seen.IntersectRect(CRect(*clip.m_Origin, size), visible))
        return *clip.m_Origin;
    const auto center = [](LONG from, LONG to, LONG length, unsigned int room) {
        const LONG last = std::max<LONG>(0, static_cast<LONG>(room) - length);
        return std::clamp<LONG>(from + (to - from - length) / 2, 0, last);
    };
    return {center(visible.left, visible.right, size.cx, image.Width),
            center(visible.top, visible.bottom, size.cy, image.Height)};
}

} // namespace

/// Copies what is selected, and what belongs to it.
Outcome MainWindow::fnFillClip(Clip& clip, CqProgressDisplay* progress) {
    const CqImage& image = m_Document.fnGetImage();
    Outcome outcome = m_Document.fnCopy(clip.m_Image, progress);
    clip.m_Origin = m_Document.fnGetEdited().TopLeft();
    // A profile of grey doesn't suit colours.
    if (image.BitCount != 8 || clip.m_Image.BitCount == 8)
        clip.m_Profile = m_Document.fnGetMetadata().m_Profile;
    return outcome;
}

void MainWindow::fnCopy() {
    Clip copy;
    if (fnRun(tr("Copy"), [&](CqProgressDisplay* progress) {
            Outcome outcome = fnFillClip(copy, progress);
            if (outcome.fnIsDone())
                m_Clipboard.fnPut(copy);
            return outcome;
        }))
        statusBar()->showMessage(tr("Copied"), kMessageMs);
}

void MainWindow::fnCut() {
    Clip copy;
    fnRun(tr("Cut"), [&](CqProgressDisplay* progress) {
        Outcome outcome = fnFillClip(copy, progress);
        if (outcome.fnIsDone())
            outcome = m_Document.fnErase(progress);
        if (outcome.fnIsDone())
            m_Clipboard.fnPut(copy);
        return outcome;
    });
}

bool MainWindow::fnTakeClip(Clip& clip) {
    if (!m_Clipboard.fnHasPicture()) {
        statusBar()->showMessage(tr("The clipboard holds no picture"), kMessageMs);
        return false;
    }
    return fnRun(tr("Paste"), [&](CqProgressDisplay* progress) {
        return m_Document.fnWithRoom(
            [&] { return m_Clipboard.fnTake(clip, progress) ? Outcome() : fnStop(); });
    });
}

void MainWindow::fnPasteInto() {
    Clip clip;
    if (fnTakeClip(clip))
        fnLay(clip.m_Image, fnFindPlace(clip, m_Document.fnGetImage(), m_pView->fnGetVisible()));
}

void MainWindow::fnPasteNew() {
    Clip clip;
    if (!fnMayLeave() || !fnTakeClip(clip))
        return;
    fnRun(tr("Paste"), [&](CqProgressDisplay*) {
        Outcome outcome = m_Document.fnTakeNew(clip.m_Image);
        if (outcome.fnIsDone()) {
            FileFacts facts;
            facts.m_Metadata.m_Profile = std::move(clip.m_Profile);
            m_Document.fnSetFileFacts(std::move(facts));
            m_Document.fnMarkUnsaved();
        }
        return outcome;
    });
    m_pView->fnSetFit(true);
}

} // namespace darkroom
