#pragma once
// Words of the command line and what they stand for.
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/item.h"
#include "io/format_entry.h"

namespace vemko::cli {

struct EncodingName {
  std::string_view name;
  SampleEncoding encoding;
  std::string_view meaning;
};
/// Encodings that --encoding takes, in the order of their capability bits.
std::span<const EncodingName> encodingNames();
std::optional<SampleEncoding> encodingOf(std::string_view name);
/// The names of all encodings of the mask, "text" and "midi" among them, joined by `separator`.
std::string encodingList(io::CapabilityMask capabilities, std::string_view separator);

/// Item kinds that --kind takes.
std::span<const ItemKind> savableKinds();
std::optional<ItemKind> kindOfName(std::string_view name);
std::string kindList(KindMask kinds, std::string_view separator);

}  // namespace vemko::cli
