#pragma once

#include "platforms/posix/CodePage_p.h"

#include <functional>
#include <string>

namespace q32::posix {

/// The directory of temporary files in the library's form: `chosen`, which is `$TMPDIR` or empty,
/// else /var/tmp, else /tmp: the first that can be used. It can be used if it fits in a path of the
/// library, has no backslash in its name, and takes new files, which can be locked; one that is
/// missing can, if its parent takes it. If none can, it is /var/tmp.
/// @param report  receives a sentence when the first choice isn't the result; once in a process.
///                Null: it goes to the standard error stream.
std::string fnChooseTempDirectory(const CodePage& codePage, const std::string& chosen,
                                  const std::function<void(const std::string&)>& report);

} // namespace q32::posix
