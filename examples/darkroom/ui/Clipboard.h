#pragma once

#include "q32Base/framework/Values.h"
#include "q32Base/image/CqImage.h"

#include <optional>
#include <QString>
#include <vector>

class CqProgressDisplay;

namespace darkroom {

/// A picture on the clipboard.
struct Clip {
    CqImage m_Image;
    std::vector<unsigned char> m_Profile; ///< of its colours; empty for none
    std::optional<CPoint> m_Origin;       ///< where it was in the picture it was copied from
};

/// The picture that was copied last. Other programs get it through the desktop's clipboard, unless
/// it is too large for that; this one takes it from here, whatever its size and depth.
class Clipboard {
public:
    /// Puts a picture with storage on the clipboard. May throw std::bad_alloc.
    void fnPut(Clip& clip);
    /// Whether the desktop's clipboard holds a picture, of this program or of another one.
    bool fnHasPicture() const;
    /// Copies it; false if there is none, or when the user aborted it. Raises the memory exception
    /// and std::bad_alloc.
    /// @param progress  may be null
    bool fnTake(Clip& clip, CqProgressDisplay* progress) const;

private:
    bool fnIsOwn() const;

    mutable Clip m_Clip; ///< read only by copies
    QString m_strMark;   ///< what the desktop's clipboard holds while the picture is this one
};

} // namespace darkroom
