/// @file
/// Rules for paths that the memory policy, the settings and CqPowerStr share. The only separator is
/// the backslash; a trail byte of that value in a multibyte character isn't one.
#pragma once

#include "q32Base/framework/CString.h"

#include <cstddef>

namespace q32 {

/// Length in bytes of the character at `text`, of which `count` bytes (at least 1) are available; 1
/// while no platform is attached.
std::size_t fnCharBytes(const char* text, std::size_t count);

/// Index of the first, or last, character `c` in the first `count` bytes of `text`; `count` if
/// there is none. A byte of that value inside a multibyte character doesn't match.
std::size_t fnFindChar(const char* text, std::size_t count, char c);
std::size_t fnFindLastChar(const char* text, std::size_t count, char c);

/// Whether the last character is a backslash.
bool fnEndsInSlash(const char* path);

/// Appends a backslash unless the last character is one. The empty string becomes a single
/// backslash.
void fnAppendSlash(CString& path);

/// Length of the longest start of `text` of at most `limit` bytes that splits no character.
std::size_t fnCutLength(const char* text, std::size_t limit);

/// Everything up to and including the first backslash, not counting a leading pair of them; empty
/// if there is none. Only the first 259 bytes are searched.
CString fnSplitRootName(const char* path);

} // namespace q32
