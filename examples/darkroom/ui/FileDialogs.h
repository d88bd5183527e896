/// @file
/// The dialogs that ask for picture files.
#pragma once

#include <QString>

class QWidget;

namespace darkroom {

/// Asks for a picture to read. Empty when the user cancels.
QString fnAskPictureToOpen(QWidget* parent, const QString& title);

/// Asks where a picture is to be saved, beginning with the path that it has, which may be empty. A
/// name without an extension gets the one of the chosen format before the question whether a file
/// of that name may be replaced. Empty when the user cancels.
QString fnAskPictureToSave(QWidget* parent, const QString& present);

} // namespace darkroom
