/// @file
/// Rules for paths that the memory policy, the settings and CqPowerStr share. The separator is the
/// backslash alone; a trail byte of that value inside a multibyte character is none.
#pragma once

#include "q32Base/framework/CString.h"

#include <cstddef>

namespace q32 {

/// Bytes of the character at `text`, of which `count` bytes (at least 1) are there; 1 while no
/// platform is attached.
std::size_t fnCharBytes(const char* text, std::size_t count);

/// Place of the first, or last, character `c` in the first `count` bytes of `text`; `count` when
/// there is none. A byte of that value inside a multibyte character doesn't count.
std::size_t fnFindChar(const char* text, std::size_t count, char c);
std::size_t fnFindLastChar(const char* text, std::size_t count, char c);

/// Whether the last character is a backslash.
bool fnEndsInSlash(const char* path);

/// Adds a backslash unless the last character is one. The empty string becomes a lone backslash.
void fnAppendSlash(CString& path);

/// Bytes of `text`, at most `limit`, that end at a character's end.
std::size_t fnCutLength(const char* text, std::size_t limit);

/// Everything up to and including the first backslash, not counting a leading pair of them; empty
/// if there is none. Looks at the first 259 bytes alone.
CString fnSplitRootName(const char* path);

} // namespace q32
