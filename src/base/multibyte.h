#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tarvo {

/**
 * Text in the process's ANSI code page, UTF-8 among them, walked character by
 * character: one of several bytes is one step, so that a trail byte that equals
 * a separator never separates. A byte that begins no whole character counts as
 * one of its own. None of these follows a text beyond its terminator.
 */

/** Tells whether a byte begins a character of two bytes whose second may be any; UTF-8 has none. */
bool IsLeadByte(char byte);

/** @return what follows the first character of text; text itself at its end. */
const char* NextChar(const char* text);
char* NextChar(char* text);

/** Tells whether at, a place inside the text that begins at start, is the second byte of a character. */
bool IsTrailByte(const char* start, const char* at);

/** @return the first or last place of an ASCII character, or NULL. */
const char* FindChar(const char* text, char wanted);
char* FindChar(char* text, char wanted);
const char* FindLastChar(const char* text, char wanted);
char* FindLastChar(char* text, char wanted);

/** @return the index of an ASCII character in a text, or npos. */
size_t IndexOfChar(std::string_view text, char wanted);

/** @return the first backslash or forward slash, or NULL. */
const char* FindSeparator(const char* text);
char* FindSeparator(char* text);

/** @return the first of two backslashes in a row, or NULL. */
char* FindDoubleBackslash(char* text);

/** @return the number of characters, one of several bytes counting one. */
size_t CountChars(const char* text);

/** Equality without regard to letter case, as file and registry names have it. */
bool EqualNoCase(std::string_view left, std::string_view right);

/** @return whether text begins with prefix, without regard to letter case. */
bool StartsWithNoCase(std::string_view text, std::string_view prefix);

/** @return a number that is the same for texts that EqualNoCase calls equal. */
uint32_t HashNoCase(std::string_view text);

/**
 * Changes letter case in place (LCMapString). A letter stays as it is where its other case would take more bytes, or
 * would stand for another letter in a name.
 */
void LowerInPlace(char* text);
void UpperInPlace(char* text);

} // namespace tarvo
