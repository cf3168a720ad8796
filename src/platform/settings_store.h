#pragma once
// Where the user's settings are stored: on Windows the registry, one value per setting, elsewhere a text file
// in the user's configuration folder that is replaced as a whole, so that a crash never leaves half of one.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/bytes.h"

namespace vemko {

class SettingsStore {
 public:
  /// Opens or creates the store of this user. Reading a store that cannot be opened finds no values.
  SettingsStore();
  ~SettingsStore();

  std::optional<std::vector<std::byte>> readBinary(std::string_view name) const;
  std::optional<std::uint32_t> readDword(std::string_view name) const;
  std::optional<std::u16string> readString(std::string_view name) const;

  void writeBinary(std::string_view name, Bytes value);
  void writeDword(std::string_view name, std::uint32_t value);
  void writeString(std::string_view name, std::u16string_view value);

  /// Makes the written values lasting. Fails with "Could not create file" or "Writing to file failed".
  bool save();

 private:
  struct System;
  std::unique_ptr<System> system_;
};

}  // namespace vemko
