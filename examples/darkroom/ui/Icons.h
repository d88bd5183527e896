#pragma once

#include <QIcon>

class QPalette;

namespace darkroom {

/// The icon of an action, drawn in the palette's colours and sharp at any scale; a null icon for an
/// action without one.
QIcon fnMakeIcon(const char* id, const QPalette& palette);

} // namespace darkroom
