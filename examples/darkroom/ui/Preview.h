#pragma once

#include "examples/darkroom/model/Operation.h"
#include "q32Base/image/CqImage.h"

#include <QPoint>
#include <QSize>
#include <vector>

namespace darkroom {

class Document;
class PictureView;

/// Shows what an operation would do to the picture, at its present position and zoom, for the
/// object's lifetime.
///
/// For operations that change pixels in place, the visible part is copied once, with the neighbours
/// that the operation reads: each change of the values then works on a fresh copy of it, whatever
/// the size of the picture. Where the view shows means of the picture's pixels, the operation runs
/// on these; below a zoom of 1/4 the nearest pixel of the result is shown. Radii are reduced with
/// the picture.
///
/// For operations that move pixels, the result is shown per screen pixel: the position at the
/// centre of the view stays there, as far as the view can scroll the result. Where the operation
/// blends pixels, four are blended, whichever filter it uses.
class Preview {
public:
    /// Nothing is shown yet.
    Preview(Document& document, PictureView& view, const Operation& operation);
    ~Preview();
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;

    /// Shows nothing for operations without a preview, for values that change nothing, and when
    /// memory is exhausted.
    void fnShow(const Values& values);
    void fnHide();
    /// Another part of the picture is visible; the preview has to be computed again.
    void fnForget();

private:
    void fnShowLocal(const Values& values);
    void fnShowMoved(const Values& values);
    void fnSampleVisible();
    void fnSampleWhole();
    void fnTake();
    void fnTakeMeans(CqImageLine& line, std::size_t y);
    void fnKeepUnselected(CqImage& image);
    Values fnScale(const Values& values) const;

    Document& m_Document;
    PictureView& m_View;
    const Operation& m_Operation;
    bool m_bSampled = false;    ///< the members below match the visible part
    CqImage m_Base;             ///< pixels of the picture, unchanged; may be empty
    std::vector<int> m_Columns; ///< of the picture, for each column of the base
    std::vector<int> m_Rows;
    int m_nSide = 1; ///< pixels of the picture that one of the base is the mean of, along each side
    std::vector<int> m_SeenColumns; ///< of the base, for each column of the screen
    std::vector<int> m_SeenRows;
    QPoint m_Corner; ///< position of the first of them, in screen pixels
};

} // namespace darkroom
