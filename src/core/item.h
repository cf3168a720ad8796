#pragma once
// Items: everything the studio loads, from any format, becomes a tree of these in a Collection. Items refer
// to each other by ItemId, never by pointer; the Collection owns them all.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/bytes.h"

namespace vemko {

class Collection;

enum class ItemKind : std::uint8_t {
  Waveform,
  Synth,
  Region,
  Layer,
  Instrument,
  Track,
  Song,
  Collection,
  Special
};
inline constexpr int kItemKindCount = 9;

/// "waveform", "synth", ... as used in messages.
std::u16string_view displayWord(ItemKind kind);

/// Bits 28-31 hold the kind, bits 0-27 a serial number.
using ItemId = std::uint32_t;
using ItemSerial = std::uint32_t;

inline constexpr ItemId kNoItem = 0xFFFFFFFF;         ///< Never a valid id.
inline constexpr ItemSerial kNewSerial = 0xFFFFFFF;   ///< In a request: allocate a new serial.
inline constexpr ItemSerial kNoWaveform = 0xFFFFFFE;  ///< In a request for a region: no waveform.

constexpr ItemId makeItemId(ItemKind kind, ItemSerial serial) {
  return static_cast<ItemId>(kind) << 28 | (serial & 0xFFFFFFF);
}
constexpr ItemSerial serialOf(ItemId id) { return id & 0xFFFFFFF; }
/// Meaningful for valid ids only.
constexpr ItemKind kindOf(ItemId id) { return static_cast<ItemKind>(id >> 28); }

/// Bit n stands for kind n.
using KindMask = std::uint8_t;
constexpr KindMask kindBit(ItemKind kind) { return static_cast<KindMask>(1u << static_cast<int>(kind)); }

/// Property numbers of an item's texts; Image holds JPEG, PNG or GIF bytes.
enum class TextProperty : int {
  Name = 230,
  Artist = 231,
  Comments = 232,
  Copyright = 233,
  Engineer = 234,
  Product = 235,
  SourceFile = 236,
  Image = 237,
};
inline constexpr TextProperty kTextProperties[] = {
    TextProperty::Name,     TextProperty::Artist,  TextProperty::Comments,   TextProperty::Copyright,
    TextProperty::Engineer, TextProperty::Product, TextProperty::SourceFile, TextProperty::Image};

/// "Name", "Artist", ...; `alternative` asks for the wording used with music files ("Album name").
std::u16string_view textPropertyLabel(TextProperty property, bool alternative = false);

/// What the reader of a file leaves for the writer of the same format: the file's own words where the model
/// rounds them or has none. Shared by an item's copies; nobody else looks inside.
struct ReaderNotes {
  virtual ~ReaderNotes() = default;
  /// Names, for the user, of what a file of that extension will not hold, beyond what the model has: mostly
  /// nothing that anybody would miss.
  virtual std::vector<std::u16string> lostIn(std::u16string_view) const { return {}; }
};

class Item {
 public:
  virtual ~Item();
  Item& operator=(const Item&) = delete;

  ItemId id() const { return id_; }
  virtual ItemKind kind() const = 0;
  Collection& collection() const { return *collection_; }

  /// The item whose child list holds this one, kNoItem when none does.
  ItemId parent = kNoItem;
  /// The user's order: an instrument's layers, a layer's regions, a song's tracks.
  std::vector<ItemId> children;
  std::shared_ptr<const ReaderNotes> notes;  ///< Mostly null.

  /// The name, or "unnamed" when it is empty.
  std::u16string displayName() const;
  const std::u16string& name() const { return name_; }

  /// Empty when not set; for the Image, see image().
  const std::u16string& text(TextProperty property) const;
  /// Trims characters of code 32 and below at both ends; what is empty then is cleared. `length` below 0
  /// means up to the terminating zero. The Image is no text and is left alone.
  void setText(TextProperty property, std::u16string_view text);
  void setText(TextProperty property, const char16_t* text, int length);
  void setName(std::u16string_view name) { setText(TextProperty::Name, name); }

  Bytes image() const { return image_ ? Bytes(*image_) : Bytes(); }
  /// Trimmed like a text: bytes of value 32 and below go at both ends.
  void setImage(Bytes image);
  /// The other item's image, without a copy of its bytes.
  void shareImage(const Item& other) { image_ = other.image_; }
  /// "image/jpeg", "image/png" or "image/gif" by the leading bytes; empty for anything else.
  static std::string_view imageMimeType(Bytes image);

  // Child list. The user-visible order is the order of the list.
  void appendChild(ItemId child) { children.push_back(child); }
  void removeChildAt(std::size_t index);
  /// Moves a child; `to` is clamped to the last index. Nothing happens for an index outside the list.
  void moveChild(std::size_t from, std::size_t to);

  /// A copy that belongs to `target` and is not registered there yet. A waveform's copy shares the samples
  /// until one of the two is edited; `withData` false leaves them behind.
  virtual std::unique_ptr<Item> clone(Collection& target, bool withData = true) const = 0;

 protected:
  explicit Item(Collection& collection) : collection_(&collection) {}
  Item(const Item&) = default;
  /// The clone() of kinds whose fields copy as they are.
  template <class T>
  static std::unique_ptr<Item> cloneOf(const T& source, Collection& target) {
    auto copy = std::make_unique<T>(source);
    static_cast<Item&>(*copy).collection_ = &target;
    return copy;
  }

 private:
  friend class Collection;
  friend class Snapshot;

  ItemId id_ = kNoItem;
  Collection* collection_;
  std::uint64_t rank_ = 0;  // its place in the enumeration of its kind: the lower comes first
  std::u16string name_;
  std::vector<std::pair<TextProperty, std::u16string>> texts_;  // those that are set, without the name
  std::shared_ptr<const std::vector<std::byte>> image_;         // shared by copies and snapshots
};

}  // namespace vemko
