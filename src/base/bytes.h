#pragma once
// Bounded reading and writing of binary records. A reader never passes its end: the first field that does
// not fit clears `ok` for good and everything read from then on is zero, so that a record is read whole and
// checked once.
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vemko {

using Bytes = std::span<const std::byte>;

static_assert(std::endian::native == std::endian::little,
              "sample and record code assumes a little-endian host");

template <class T>
constexpr T byteSwapped(T value) {
  auto bytes = std::bit_cast<std::array<std::byte, sizeof(T)>>(value);
  for (std::size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(bytes[i], bytes[sizeof(T) - 1 - i]);
  return std::bit_cast<T>(bytes);
}

/// The text's bytes, without a terminating zero.
inline Bytes asBytes(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

/// Four-character chunk identifier as a little-endian number: "RIFF" -> 0x46464952.
constexpr std::uint32_t fourCc(const char (&id)[5]) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<unsigned char>(id[i]);
  return value;
}

struct ByteReader {
  Bytes bytes;
  std::size_t pos = 0;
  bool ok = true;

  explicit ByteReader(Bytes data) : bytes(data) {}

  std::size_t remaining() const { return bytes.size() - pos; }

  /// Clears ok when fewer than `count` bytes remain. Subtracts, because pos + count could wrap.
  bool need(std::uint64_t count) { return ok = ok && count <= remaining(); }

  template <class T>
  T little() {
    T value{};
    if (!need(sizeof(T))) return value;
    std::memcpy(&value, bytes.data() + pos, sizeof(T));
    pos += sizeof(T);
    return value;
  }
  template <class T>
  T big() {
    return byteSwapped(little<T>());
  }

  std::uint8_t u8() { return little<std::uint8_t>(); }
  std::uint16_t u16() { return little<std::uint16_t>(); }
  std::uint32_t u32() { return little<std::uint32_t>(); }
  std::uint64_t u64() { return little<std::uint64_t>(); }
  std::int8_t i8() { return little<std::int8_t>(); }
  std::int16_t i16() { return little<std::int16_t>(); }
  std::int32_t i32() { return little<std::int32_t>(); }

  /// The next `count` bytes; empty, with ok cleared, when they are not there.
  Bytes take(std::uint64_t count) {
    if (!need(count)) return {};
    Bytes part = bytes.subspan(pos, static_cast<std::size_t>(count));
    pos += part.size();
    return part;
  }
  void skip(std::uint64_t count) { take(count); }
  /// All that remains.
  Bytes rest() { return take(remaining()); }
};

/// Appends little-endian fields to a growing block.
struct ByteWriter {
  std::vector<std::byte> bytes;

  std::size_t size() const { return bytes.size(); }

  void append(Bytes data) { bytes.insert(bytes.end(), data.begin(), data.end()); }
  template <class T>
  void little(T value) {
    static_assert(std::is_arithmetic_v<T>);
    append(std::as_bytes(std::span(&value, 1)));
  }
  void u8(std::uint8_t value) { little(value); }
  void u16(std::uint16_t value) { little(value); }
  void u32(std::uint32_t value) { little(value); }
  void u64(std::uint64_t value) { little(value); }
  void i16(std::int16_t value) { little(value); }
  void i32(std::int32_t value) { little(value); }
  void text(std::string_view value) { append(asBytes(value)); }
  void zeros(std::size_t count) { bytes.resize(bytes.size() + count); }

  /// Overwrites a 32-bit field that was written before; `at` + 4 must lie within the block.
  void patchU32(std::size_t at, std::uint32_t value) { std::memcpy(bytes.data() + at, &value, sizeof value); }
};

}  // namespace vemko
