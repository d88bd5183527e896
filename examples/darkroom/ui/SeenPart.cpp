#include "examples/darkroom/ui/SeenPart.h"

namespace darkroom {

SeenPart::SeenPart(const CqImageView& view, const CRect& part)
    : m_Columns(fnMakeAxis(view.fnGetPixelSize().width(), part.left, part.right,
                           [&](int x) {
                               return view.fnGetSample({x, 0}).x();
                           })),
      m_Rows(fnMakeAxis(view.fnGetPixelSize().height(), part.top, part.bottom, [&](int y) {
          return view.fnGetSample({0, y}).y();
      })) {}

} // namespace darkroom
