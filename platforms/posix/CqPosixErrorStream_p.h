#pragma once

#include "q32Base/platform/CqMessageService.h"

/// Messages of a host without a desktop: a box becomes a line of the standard error stream, and its
/// first button is the answer.
class CqPosixErrorStream : public CqMessageService {
public:
    /// Writes the caption, if there is one, and the text. Line breaks become spaces, and other
    /// control characters question marks, so that a file's name can't steer the terminal. A
    /// question is followed by its answer. Allocates nothing, and keeps errno.
    int fnShowBox(const char* text, UINT style, const char* caption) override;
    DWORD fnGetLastError() override { return 0; }
    bool fnFormatError(DWORD, std::string&) override { return false; }
};
