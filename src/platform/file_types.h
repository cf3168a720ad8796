#pragma once
#include <string>
#include <string_view>

namespace vemko {

/// The operating system's description of files with that extension (without the dot); empty when it has none.
std::u16string systemFileTypeDescription(std::u16string_view extension);

}  // namespace vemko
