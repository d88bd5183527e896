#include "q32Base/image/CqImage.h"
#include "q32Base/image/DigitalLine_p.h"

void CqImage::fnDrawLine(int x0, int y0, int x1, int y1, const CqColor& color, bool) {
    const q32::DigitalLine line(*this, color);
    line.fnDraw(x0, y0, x1, y1);
    line.fnRequirePixels();
}
