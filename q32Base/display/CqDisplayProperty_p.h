#pragma once

class CqDisplayProperty;

namespace q32 {

/// Sets what `q32GetDisplayProperty` returns. Called only by attach and detach, which own the
/// display property.
void fnSetDisplayProperty(CqDisplayProperty* display);

} // namespace q32
