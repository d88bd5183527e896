#pragma once

#include "examples/darkroom/model/Operation.h"
#include "q32Base/image/CqImage.h"

#include <QImage>
#include <QRectF>
#include <vector>

namespace darkroom {

class Document;
class PictureView;

/// Shows what an operation would do to the part of the picture that is in sight, for as long as it
/// lives. What is seen is copied once: pixel by pixel of the picture when it is shown enlarged,
/// pixel by pixel of the screen when it is shown smaller; each change of the values then works on a
/// fresh copy of that, whatever the size of the picture.
class Preview {
public:
    /// Nothing is shown yet. Does nothing for operations that have no preview, and when memory for
    /// it runs out.
    Preview(Document& document, PictureView& view, const Operation& operation);
    ~Preview();
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;

    void fnShow(const Values& values);
    void fnHide();

private:
    void fnSampleVisible();
    void fnSampleWhole();
    void fnTake(const std::vector<int>& columns, const std::vector<int>& rows);
    void fnKeepUnselected(CqImage& image);
    QImage fnSpread(const QImage& picture) const;
    QRectF fnGetTarget(const CqImage& image) const;

    Document& m_Document;
    PictureView& m_View;
    const Operation& m_Operation;
    CqImage m_Base;             ///< what is in sight, as it is
    std::vector<int> m_Columns; ///< of the picture, that the base's come from
    std::vector<int> m_Rows;
    std::vector<int> m_SpreadColumns; ///< enlarged: of the picture, for each column of the screen
    std::vector<int> m_SpreadRows;
    QRectF m_Target;
};

/// A picture of 8, 16, 24 or 32 bits as the screen shows it, through the library's gamma; alpha
/// isn't shown.
QImage fnMakeScreenImage(CqImage& image);

} // namespace darkroom
