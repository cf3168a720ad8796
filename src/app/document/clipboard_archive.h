#pragma once
// Writing and reading of the clipboard's records: each kind's fields are listed once, for both directions.
#include <bit>
#include <string>
#include <type_traits>

#include "base/bytes.h"

namespace vemko::app {

struct ArchiveWriter {
  static constexpr bool kReads = false;
  ByteWriter out;

  template <class T>
  requires std::is_arithmetic_v<T>
  void operator()(T& value) { out.little(value); }
  void operator()(bool& value) { out.u8(value ? 1 : 0); }
  void operator()(std::u16string& text) {
    out.u32(static_cast<std::uint32_t>(text.size()));
    out.append(std::as_bytes(std::span(text)));
  }
  void operator()(std::vector<std::byte>& bytes) {
    out.u64(bytes.size());
    out.append(bytes);
  }
};

struct ArchiveReader {
  static constexpr bool kReads = true;
  ByteReader in;

  template <class T>
  requires std::is_arithmetic_v<T>
  void operator()(T& value) { value = in.little<T>(); }
  void operator()(bool& value) { value = in.u8() != 0; }
  void operator()(std::u16string& text) {
    const Bytes bytes = in.take(std::uint64_t{in.u32()} * sizeof(char16_t));
    text.resize(bytes.size() / sizeof(char16_t));
    if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
  }
  void operator()(std::vector<std::byte>& bytes) {
    const Bytes part = in.take(in.u64());
    bytes.assign(part.begin(), part.end());
  }
};

/// An enumeration of values 0 to `last`; anything else makes the record unreadable.
template <class Archive, class Enum>
void archiveEnum(Archive& archive, Enum& value, Enum last) {
  auto number = static_cast<std::uint8_t>(value);
  archive(number);
  if constexpr (Archive::kReads) archive.in.ok = archive.in.ok && number <= static_cast<std::uint8_t>(last);
  value = static_cast<Enum>(number);
}

}  // namespace vemko::app
