#pragma once
// The texts of a bank's INFO list.
#include <optional>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_records.h"

namespace vemko::soundfont {

/// Sets the collection's text properties; its name is that of the file where the bank has none.
void readInfoTexts(const std::vector<InfoText>& info, const Path& path, Collection& collection);

/// What is written: the collection's texts, and what its bank said beyond them (the creation date). Texts
/// whose names are the writer's own are not among these.
std::vector<InfoText> infoTextsOf(const Item& item, const Path& file);

struct SoftwareVersion {
  int major = 0;
  int minor = 0;
};
/// The version of this program that wrote the bank, if it did.
std::optional<SoftwareVersion> softwareVersion(const std::vector<InfoText>& info);

}  // namespace vemko::soundfont
