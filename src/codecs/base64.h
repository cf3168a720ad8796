#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"

namespace vemko {

/// With padding, on one line.
std::string encodeBase64(Bytes data);
/// Up to the padding or the first character that does not belong there.
std::vector<std::byte> decodeBase64(std::string_view text);

}  // namespace vemko
