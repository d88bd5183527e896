#pragma once

#include <QStringList>

namespace darkroom {

/// Where copies of unsaved changes may lie: in a folder of the user's own on each scratch disk that
/// is in use, the usual place first, and at last in `fallback`. May throw std::bad_alloc.
QStringList fnFindRecoveryFolders(const QString& fallback);

/// Makes a folder if it isn't there, and closes it to everybody else. False if that fails: a
/// scratch disk may be open to other users, who could have put something in its place.
bool fnMakePrivate(const QString& folder);

} // namespace darkroom
