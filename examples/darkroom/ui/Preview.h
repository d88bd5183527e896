#pragma once

#include "examples/darkroom/model/Operation.h"
#include "q32Base/image/CqImage.h"

#include <QPoint>
#include <QSize>
#include <vector>

namespace darkroom {

class Document;
class PictureView;

/// Shows what an operation would do to the picture, at the place and zoom that it is seen in, for
/// as long as it lives.
///
/// Of operations that work on pixels where they stand, what is in sight is copied once, with the
/// neighbours that the operation looks at: each change of the values then works on a fresh copy of
/// that, whatever the size of the picture. What is shown is the nearest pixel of the result, also
/// where the view itself shows means, below a zoom of 1/4.
///
/// Of operations that move pixels, the result is shown pixel by pixel of the screen: the place in
/// the middle of the view stays there, as far as the view can scroll the result. Where the
/// operation blends pixels, four are blended, whichever filter it has.
class Preview {
public:
    /// Nothing is shown yet.
    Preview(Document& document, PictureView& view, const Operation& operation);
    ~Preview();
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;

    /// Shows nothing for operations that have no preview, for values that change nothing, and when
    /// memory for it runs out.
    void fnShow(const Values& values);
    void fnHide();
    /// Another part of the picture is in sight; what is shown is to be shown anew.
    void fnForget();

private:
    void fnShowLocal(const Values& values);
    void fnShowMoved(const Values& values);
    void fnSampleVisible();
    void fnSampleWhole();
    void fnTake();
    void fnKeepUnselected(CqImage& image);

    Document& m_Document;
    PictureView& m_View;
    const Operation& m_Operation;
    bool m_bSampled = false;    ///< what follows is for what is in sight
    CqImage m_Base;             ///< places of the picture, as they are; may be none
    std::vector<int> m_Columns; ///< of the picture, that the base's come from
    std::vector<int> m_Rows;
    std::vector<int> m_SeenColumns; ///< of the base, for each column of the screen
    std::vector<int> m_SeenRows;
    QPoint m_Corner; ///< where the first of them is seen, in pixels of the screen
};

} // namespace darkroom
