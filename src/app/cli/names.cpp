#include "app/cli/names.h"

#include <algorithm>

#include "base/text.h"

namespace vemko::cli {
namespace {

// clang-format off
constexpr EncodingName kEncodings[] = {
    {"pcm8",    SampleEncoding::Pcm8,    "8-bit integers"},
    {"pcm12",   SampleEncoding::Pcm12,   "12-bit integers"},
    {"pcm16",   SampleEncoding::Pcm16,   "16-bit integers"},
    {"pcm20",   SampleEncoding::Pcm20,   "20-bit integers"},
    {"pcm24",   SampleEncoding::Pcm24,   "24-bit integers"},
    {"pcm32",   SampleEncoding::Pcm32,   "32-bit integers"},
    {"float32", SampleEncoding::Float32, "32-bit floating point"},
    {"float64", SampleEncoding::Float64, "64-bit floating point"},
    {"ulaw",    SampleEncoding::MuLaw,   "mu-law"},
    {"alaw",    SampleEncoding::ALaw,    "A-law"},
    {"gsm",     SampleEncoding::Gsm610,  "GSM 06.10"},
    {"adpcm2",  SampleEncoding::Adpcm2,  "2-bit ADPCM"},
    {"adpcm3",  SampleEncoding::Adpcm3,  "3-bit ADPCM"},
    {"adpcm4",  SampleEncoding::Adpcm4,  "4-bit ADPCM"},
    {"adpcm5",  SampleEncoding::Adpcm5,  "5-bit ADPCM"},
    {"codec",   SampleEncoding::Codec,   "the codec of the format"},
};
// Encodings that are listed but not asked for by name.
constexpr EncodingName kOtherEncodings[] = {
    {"alt8",  SampleEncoding::Alternative8,  "alternative 8-bit encoding"},
    {"alt16", SampleEncoding::Alternative16, "alternative 16-bit encoding"},
    {"text",  SampleEncoding::Text,          "text"},
    {"midi",  SampleEncoding::MidiEvents,    "MIDI events"},
};
// clang-format on
constexpr ItemKind kSavable[] = {ItemKind::Collection, ItemKind::Instrument, ItemKind::Song,
                                 ItemKind::Waveform};

void appendWord(std::string& list, std::string_view word, std::string_view separator) {
  if (!list.empty()) list += separator;
  list += word;
}

}  // namespace

std::span<const EncodingName> encodingNames() { return kEncodings; }

std::optional<SampleEncoding> encodingOf(std::string_view name) {
  for (const EncodingName& row : kEncodings)
    if (row.name == name) return row.encoding;
  return std::nullopt;
}

std::string encodingList(io::CapabilityMask capabilities, std::string_view separator) {
  std::string list;
  for (std::span<const EncodingName> rows : {std::span<const EncodingName>(kEncodings), {kOtherEncodings}})
    for (const EncodingName& row : rows)
      if (capabilities & io::encodingBit(row.encoding)) appendWord(list, row.name, separator);
  return list;
}

std::span<const ItemKind> savableKinds() { return kSavable; }

std::optional<ItemKind> kindOfName(std::string_view name) {
  for (ItemKind kind : kSavable)
    if (toUtf8(displayWord(kind)) == name) return kind;
  return std::nullopt;
}

std::string kindList(KindMask kinds, std::string_view separator) {
  std::string list;
  for (int i = 0; i < kItemKindCount - 1; ++i) {
    const auto kind = static_cast<ItemKind>(i);
    if (kinds & kindBit(kind)) appendWord(list, toUtf8(displayWord(kind)), separator);
  }
  return list;
}

}  // namespace vemko::cli
