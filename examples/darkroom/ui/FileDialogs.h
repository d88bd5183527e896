/// @file The dialogs that choose picture files.
#pragma once

#include <QString>

class QWidget;

namespace darkroom {

/// Asks for a picture to read. Empty when the user cancels.
QString fnAskPictureToOpen(QWidget* parent, const QString& title);

/// Asks where to save a picture, starting with its present path, which may be empty. A name without
/// an extension gets that of the chosen format before the user is asked whether to replace an
/// existing file. Empty when the user cancels.
QString fnAskPictureToSave(QWidget* parent, const QString& present);

} // namespace darkroom
