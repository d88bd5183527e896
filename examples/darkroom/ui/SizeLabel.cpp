#include "examples/darkroom/ui/SizeLabel.h"

#include "examples/darkroom/model/Bands.h"
#include "examples/darkroom/ui/Texts.h"

#include <QPushButton>

namespace darkroom {

SizeLabel::SizeLabel(QPushButton& ok, QWidget* parent) : QLabel(parent), m_Ok(ok) {
    setObjectName("bytes");
}

void SizeLabel::fnShow(const QSize& size, unsigned int bits) {
    const std::uint64_t bytes = fnCountBytes(static_cast<std::uint64_t>(size.width()),
                                             static_cast<std::uint64_t>(size.height()), bits);
    const bool possible = bytes <= kMaxBytes;
    const QString text = fnFormatSize(bytes);
    setText(possible ? text : tr("%1; %2 is the most").arg(text, fnFormatSize(kMaxBytes)));
    m_Ok.setEnabled(possible);
}

} // namespace darkroom
