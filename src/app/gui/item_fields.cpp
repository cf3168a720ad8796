#include <cmath>

#include "app/gui/field_page.h"

namespace vemko::gui {
namespace {

template <class T>
const T& as(const Item& item) {
  return static_cast<const T&>(item);
}
template <class T>
T& as(Item& item) {
  return static_cast<T&>(item);
}

template <auto member, class T>
double get(const Item& item) {
  return static_cast<double>(as<T>(item).*member);
}
template <auto member, class T>
void set(Item& item, double value) {
  using Type = std::remove_cvref_t<decltype(as<T>(item).*member)>;
  as<T>(item).*member = static_cast<Type>(value);
}

/// A field that is a member of its kind.
template <class T, auto member>
constexpr ItemField memberField(const char* label, const char* note, FieldType type, double minimum,
                                double maximum, std::span<const char* const> choices = {}) {
  return {label, note, type, minimum, maximum, get<member, T>, set<member, T>, choices};
}

void setRange(MidiRange& range, std::uint32_t& setFields, std::uint32_t bit, bool low, double value) {
  (low ? range.low : range.high) = static_cast<std::uint8_t>(value);
  setFields |= bit;
}

void setPatch(Item& item, int shift, std::uint32_t mask, double value) {
  std::uint32_t& word = as<Instrument>(item).patch.word;
  word = (word & ~(mask << shift)) | (static_cast<std::uint32_t>(value) & mask) << shift;
}

constexpr const char* kTriggers[] = {"Attack", "Release", "First note", "Legato"};
constexpr double kMost32 = 4294967295.0;
using enum FieldType;

// clang-format off
constexpr ItemField kInstrumentFields[] = {
    {"MIDI CC 0:", "bank select MSB", Whole, 0, 127,
     [](const Item& i) { return static_cast<double>(as<Instrument>(i).patch.bankMsb()); }, [](Item& i, double v) { setPatch(i, 14, 127, v); }},
    {"MIDI CC 32:", "bank select LSB", Whole, 0, 127,
     [](const Item& i) { return static_cast<double>(as<Instrument>(i).patch.bankLsb()); }, [](Item& i, double v) { setPatch(i, 7, 127, v); }},
    {"MIDI Program Change number:", "Here numbered 0..127, some say 1..128", Whole, 0, 127,
     [](const Item& i) { return static_cast<double>(as<Instrument>(i).patch.program()); }, [](Item& i, double v) { setPatch(i, 0, 127, v); }},
    {"Drum kit flag", "Separate address space for drum channels", Check, 0, 1,
     [](const Item& i) { return as<Instrument>(i).patch.isDrumKit() ? 1.0 : 0.0; }, [](Item& i, double v) { setPatch(i, 21, 1, v); }},
};

constexpr ItemField kRegionFields[] = {
    {"Lowest key:", "", Key, 0, 127, [](const Item& i) { return static_cast<double>(as<Region>(i).keys.low); },
     [](Item& i, double v) { setRange(as<Region>(i).keys, as<Region>(i).setFields, region_fields::Keys, true, v); }},
    {"Highest key:", "", Key, 0, 127, [](const Item& i) { return static_cast<double>(as<Region>(i).keys.high); },
     [](Item& i, double v) { setRange(as<Region>(i).keys, as<Region>(i).setFields, region_fields::Keys, false, v); }},
    {"Lowest velocity:", "", Whole, 0, 127, [](const Item& i) { return static_cast<double>(as<Region>(i).velocities.low); },
     [](Item& i, double v) { setRange(as<Region>(i).velocities, as<Region>(i).setFields, region_fields::Velocities, true, v); }},
    {"Highest velocity:", "", Whole, 0, 127, [](const Item& i) { return static_cast<double>(as<Region>(i).velocities.high); },
     [](Item& i, double v) { setRange(as<Region>(i).velocities, as<Region>(i).setFields, region_fields::Velocities, false, v); }},
    memberField<Region, &Region::rootKey>("Root key:", "empty: the waveform's", KeyOrNone, 0, 127),
    memberField<Region, &Region::fixedKey>("Fixed key:", "every note sounds as this key", KeyOrNone, 0, 127),
    memberField<Region, &Region::exclusiveGroup>("Exclusive group:", "0: none", Whole, 0, 255),
    memberField<Region, &Region::trigger>("Trigger:", "", Choice, 0, 3, kTriggers),
    memberField<Region, &Region::delaySeconds>("Delay:", "s", Decimal, 0, 100),
};

constexpr ItemField kWaveformFields[] = {
    memberField<Waveform, &Waveform::rate>("Sample rate:", "Hz", Whole, 1, kMost32),
    memberField<Waveform, &Waveform::rootKey>("Root key:", "", Key, 0, 127),
    memberField<Waveform, &Waveform::fineTuneCents>("Fine tune:", "cents", Whole, -128, 127),
    memberField<Waveform, &Waveform::volumeAdjustmentDb>("Volume adjustment:", "dB", Decimal, -200, 200),
};

constexpr ItemField kSongFields[] = {
    {"Ticks per quarter note:", "", Whole, 1, 32767,
     [](const Item& i) { return static_cast<double>(as<Song>(i).settings >> 16 & 0x7FFF); },
     [](Item& i, double v) { as<Song>(i).settings = (as<Song>(i).settings & 0xFFFF) | static_cast<std::uint32_t>(v) << 16; }},
};
// clang-format on

}  // namespace

std::span<const ItemField> fieldsOf(ItemKind kind) {
  switch (kind) {
    case ItemKind::Instrument:
      return kInstrumentFields;
    case ItemKind::Region:
      return kRegionFields;
    case ItemKind::Waveform:
      return kWaveformFields;
    case ItemKind::Song:
      return kSongFields;
    default:
      return {};
  }
}

}  // namespace vemko::gui
