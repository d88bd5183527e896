#pragma once

#include "q32Base/image/CqImage.h"

#include <QString>

namespace darkroom {

/// The picture that was copied last. Other programs get it through the desktop's clipboard, unless
/// it is too large for that; this one takes it from here, whatever its size and depth.
class Clipboard {
public:
    /// Puts a picture with storage on the clipboard. May throw std::bad_alloc.
    void fnPut(CqImage& image);
    /// Whether the desktop's clipboard holds a picture, of this program or of another one.
    bool fnHasPicture() const;
    /// Copies it; false if there is none. Raises the memory exception and std::bad_alloc.
    bool fnTake(CqImage& image) const;

private:
    bool fnIsOwn() const;

    mutable CqImage m_Image; ///< read only by copies
    QString m_strMark;       ///< what the desktop's clipboard holds while the picture is this one
};

} // namespace darkroom
