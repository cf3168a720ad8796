#pragma once
// How the three storage forms of a setting are written in the settings file, one line each, so that type and
// size survive: "dword:48000", "hex:01 ff", "string:C:\\music\x0a".
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"

namespace vemko::posix {

std::string dwordText(std::uint32_t value);
std::string binaryText(Bytes value);
std::string stringText(std::u16string_view value);

/// Nothing when the text is of another form. Decimal numbers may be negative, -1 is 4294967295.
std::optional<std::uint32_t> parseDword(std::string_view text);
std::optional<std::vector<std::byte>> parseBinary(std::string_view text);
std::optional<std::u16string> parseString(std::string_view text);

}  // namespace vemko::posix
