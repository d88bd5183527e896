#include "q32Base/image/CqImage.h"
#include "q32Base/image/DigitalLine_p.h"
#include "q32Base/platform/Checked_p.h"

void CqImage::fnDrawLine(int x0, int y0, int x1, int y1, const CqColor& color, bool) {
    q32::fnRequirePixels("CqImage::fnDrawLine", TileMap);
    q32::DigitalLine(*this, color).fnDraw(x0, y0, x1, y1);
}
