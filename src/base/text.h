#pragma once
// Text of the model is UTF-16; the command line, POSIX paths and most files speak UTF-8.
#include <string>
#include <string_view>

#include "base/bytes.h"

namespace vemko {

/// UTF-8 to UTF-16. Bytes that are not UTF-8 become lone surrogates (U+DC80 + low bits), so that toUtf8 gives
/// exactly the same bytes back: a file name in an unknown encoding survives the trip.
std::u16string toUtf16(std::string_view utf8);

/// UTF-16 to UTF-8, the inverse of toUtf16. Other lone surrogates become U+FFFD.
std::string toUtf8(std::u16string_view text);

/// Text for a file's 8-bit field: UTF-8 of at most `maxBytes` bytes, cut between characters.
std::string toUtf8(std::u16string_view text, std::size_t maxBytes);

/// Text from a file's 8-bit field, up to the first zero: UTF-8 where it is valid, Windows-1252 otherwise.
std::u16string decodeText(Bytes field);

/// Without the characters of code 32 and below at both ends.
std::u16string_view trimmed(std::u16string_view text);

/// One character, folded to lower case: ASCII, Latin-1, Latin Extended-A, Greek and Cyrillic.
char16_t foldCase(char16_t c);
bool equalsIgnoringCase(std::u16string_view a, std::u16string_view b);

/// Order of names as people expect it: case ignored, runs of digits compared as numbers ("wave 2" before
/// "wave 10"); names that are equal so far are ordered by code. Negative, 0 or positive.
int compareNatural(std::u16string_view a, std::u16string_view b);

/// The printf format filled in; for numbers within fixed English texts.
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vemko
