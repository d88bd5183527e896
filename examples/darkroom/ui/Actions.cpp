#include "examples/darkroom/ui/Actions.h"

namespace darkroom {

std::span<const ToolEntry> fnGetTools() {
    static const ToolEntry kTools[] = {
        {"toolPan", "&Pan", "H", Tool::PAN, Needs::NOTHING},
        {"toolRectangle", "Select a &Rectangle", "R", Tool::RECTANGLE, Needs::SELECTABLE},
        {"toolEllipse", "Select an &Ellipse", "E", Tool::ELLIPSE, Needs::SELECTABLE},
        {"toolFreehand", "Select &Freehand", "F", Tool::FREEHAND, Needs::SELECTABLE},
        {"toolColor", "Select by &Color", "C", Tool::PICK, Needs::SELECTABLE},
        {"toolEyedropper", "P&ick a Color", "I", Tool::EYEDROPPER, Needs::PICTURE},
        {"toolAdjust", "&Move or Scale the Selection", "M", Tool::ADJUST, Needs::SELECTABLE},
        {"toolStraighten", "&Straighten by a Line", "S", Tool::STRAIGHTEN, Needs::COLOR_PICTURE},
        {"toolLine", "Draw a &Line", "L", Tool::LINE, Needs::COLOR_PICTURE},
        {"toolCurve", "Draw a C&urve", "U", Tool::CURVE, Needs::COLOR_PICTURE},
    };
    return kTools;
}

} // namespace darkroom
