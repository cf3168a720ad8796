#include <algorithm>
#include <iterator>

#include "app/gui/field_page.h"
#include "base/last_error.h"
#include "base/log.h"
#include "codecs/raw_samples.h"

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

// The other end gives way, so that a range never ends before it begins.
void setRange(MidiRange& range, std::uint32_t& setFields, std::uint32_t bit, bool low, double value) {
  const auto end = static_cast<std::uint8_t>(value);
  if (low)
    range = {end, std::max(end, range.high)};
  else
    range = {std::min(end, range.low), end};
  setFields |= bit;
}

void setPatch(Item& item, int shift, std::uint32_t mask, double value) {
  std::uint32_t& word = as<Instrument>(item).patch.word;
  word = (word & ~(mask << shift)) | (static_cast<std::uint32_t>(value) & mask) << shift;
}

constexpr const char* kEffects[] = {"None", "Chorus", "Reverb"};

template <int send>
constexpr ItemField sendField(const char* label) {
  return {label,
          "",
          FieldType::Choice,
          0,
          2,
          [](const Item& i) { return static_cast<double>(as<Instrument>(i).sendEffects[send]); },
          [](Item& i, double v) { as<Instrument>(i).sendEffects[send] = static_cast<SendEffect>(v); },
          kEffects};
}

/// One end of a cross-fade.
template <MidiRange Region::*fade, std::uint8_t MidiRange::*end>
constexpr ItemField fadeField(const char* label, FieldType type) {
  return {label,
          "",
          type,
          0,
          127,
          [](const Item& i) { return static_cast<double>(as<Region>(i).*fade.*end); },
          [](Item& i, double v) { (as<Region>(i).*fade).*end = static_cast<std::uint8_t>(v); }};
}

/// The part of the waveform that a region plays.
template <std::uint32_t PlaySection::*end>
constexpr ItemField sectionField(const char* label, const char* note) {
  return {label,
          note,
          FieldType::Whole,
          0,
          4294967295.0,
          [](const Item& i) { return static_cast<double>(as<Region>(i).section.*end); },
          [](Item& i, double v) { as<Region>(i).section.*end = static_cast<std::uint32_t>(v); }};
}

constexpr const char* kTriggers[] = {"Attack", "Release", "First note", "Legato"};
constexpr double kMost32 = 4294967295.0;
constexpr double kMostHeader = 9007199254740991.0;  // whole numbers that a double holds

/// What raw samples may be, by the entry of the list; the byte order stands apart.
struct RawEncoding {
  SampleEncoding encoding;
  bool signed8;
};
constexpr const char* kRawEncodings[] = {"8-bit unsigned", "8-bit signed", "16-bit", "24-bit", "32-bit",
                                         "32-bit float",   "64-bit float", "mu-law", "A-law"};
constexpr RawEncoding kRawEncodingValues[] = {
    {SampleEncoding::Pcm8, false},    {SampleEncoding::Pcm8, true},   {SampleEncoding::Pcm16, false},
    {SampleEncoding::Pcm24, false},   {SampleEncoding::Pcm32, false}, {SampleEncoding::Float32, false},
    {SampleEncoding::Float64, false}, {SampleEncoding::MuLaw, false}, {SampleEncoding::ALaw, false}};
static_assert(std::size(kRawEncodings) == std::size(kRawEncodingValues));
constexpr const char* kByteOrders[] = {"Low byte first", "High byte first"};

io::RawFormat rawOf(const Item& item) { return rawFormatOf(as<Waveform>(item)).value_or(io::RawFormat{}); }

// A file that has gone in the meantime leaves the waveform as it is.
template <class Change>
void changeRaw(Item& item, Change change) {
  auto& waveform = as<Waveform>(item);
  auto format = rawFormatOf(waveform);
  if (!format) return;
  change(*format);
  if (!setRawSamples(waveform, waveform.source->file(), *format)) logWarning(lastError());
}

double rawEncodingOf(const Item& item) {
  const io::RawFormat format = rawOf(item);
  const auto found = std::ranges::find_if(kRawEncodingValues, [&](const RawEncoding& each) {
    return each.encoding == format.encoding &&
           each.signed8 == (format.signed8 && format.encoding == SampleEncoding::Pcm8);
  });
  return found == std::end(kRawEncodingValues) ? -1.0 : static_cast<double>(found - kRawEncodingValues);
}

void setRawEncoding(Item& item, double value) {
  changeRaw(item, [&](io::RawFormat& format) {
    const RawEncoding& chosen = kRawEncodingValues[static_cast<std::size_t>(value)];
    format.encoding = chosen.encoding;
    format.signed8 = chosen.signed8;
  });
}
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
    sendField<0>("Send channel 1:"), sendField<1>("Send channel 2:"), sendField<2>("Send channel 3:"), sendField<3>("Send channel 4:"),
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
    memberField<Region, &Region::fixedVelocity>("Fixed velocity:", "and at this velocity", WholeOrNone, 0, 127),
    memberField<Region, &Region::exclusiveGroup>("Exclusive group:", "0: none", Whole, 0, 255),
    memberField<Region, &Region::trigger>("Trigger:", "", Choice, 0, 3, kTriggers),
    memberField<Region, &Region::delaySeconds>("Delay:", "s", Decimal, 0, 100),
    sectionField<&PlaySection::start>("Plays from:", "frame"),
    sectionField<&PlaySection::end>("Plays to:", "frame; both 0: as the waveform says"),
};

constexpr ItemField kFadeFields[] = {
    fadeField<&Region::fadeInKeys, &MidiRange::low>("Keys, fade in from:", Key), fadeField<&Region::fadeInKeys, &MidiRange::high>("Keys, fade in to:", Key),
    fadeField<&Region::fadeOutKeys, &MidiRange::low>("Keys, fade out from:", Key), fadeField<&Region::fadeOutKeys, &MidiRange::high>("Keys, fade out to:", Key),
    fadeField<&Region::fadeInVelocities, &MidiRange::low>("Velocities, fade in from:", Whole), fadeField<&Region::fadeInVelocities, &MidiRange::high>("Velocities, fade in to:", Whole),
    fadeField<&Region::fadeOutVelocities, &MidiRange::low>("Velocities, fade out from:", Whole), fadeField<&Region::fadeOutVelocities, &MidiRange::high>("Velocities, fade out to:", Whole),
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

constexpr ItemField kRawFields[] = {
    {"Encoding:", "", Choice, 0, std::size(kRawEncodings) - 1, rawEncodingOf, setRawEncoding, kRawEncodings},
    {"Byte order:", "", Choice, 0, 1, [](const Item& i) { return rawOf(i).bigEndian ? 1.0 : 0.0; },
     [](Item& i, double v) { changeRaw(i, [v](io::RawFormat& f) { f.bigEndian = v != 0; }); }, kByteOrders},
    {"Channels:", "", Whole, 1, 255, [](const Item& i) { return static_cast<double>(rawOf(i).channels); },
     [](Item& i, double v) { changeRaw(i, [v](io::RawFormat& f) { f.channels = static_cast<std::uint8_t>(v); }); }},
    {"Sample rate:", "Hz", Whole, 1, kMost32, [](const Item& i) { return static_cast<double>(rawOf(i).rate); },
     [](Item& i, double v) { changeRaw(i, [v](io::RawFormat& f) { f.rate = static_cast<std::uint32_t>(v); }); }},
    {"Offset:", "bytes before the first sample", Whole, 0, kMostHeader, [](const Item& i) { return static_cast<double>(rawOf(i).headerBytes); },
     [](Item& i, double v) { changeRaw(i, [v](io::RawFormat& f) { f.headerBytes = static_cast<std::uint64_t>(v); }); }},
};
// clang-format on

}  // namespace

std::span<const ItemField> rawSampleFields() { return kRawFields; }

std::span<const ItemField> fadeFieldsOf(std::span<Item* const> items) {
  const auto isRegion = [](const Item* item) { return item->kind() == ItemKind::Region; };
  return std::ranges::all_of(items, isRegion) ? std::span<const ItemField>(kFadeFields)
                                              : std::span<const ItemField>();
}

bool haveRawSamples(std::span<Item* const> items) {
  return std::ranges::all_of(items, [](const Item* item) {
    return item->kind() == ItemKind::Waveform && rawFormatOf(as<Waveform>(*item)).has_value();
  });
}

std::span<const ItemField> fieldsOf(std::span<Item* const> items) {
  const ItemKind kind = items.front()->kind();
  if (std::ranges::any_of(items, [kind](const Item* item) { return item->kind() != kind; })) return {};
  switch (kind) {
    case ItemKind::Instrument:
      return kInstrumentFields;
    case ItemKind::Region:
      return kRegionFields;
    case ItemKind::Waveform:
      // The rate of raw samples stands with the rest of their format.
      return std::span<const ItemField>(kWaveformFields).subspan(haveRawSamples(items) ? 1 : 0);
    case ItemKind::Song:
      return kSongFields;
    default:
      return {};
  }
}

}  // namespace vemko::gui
