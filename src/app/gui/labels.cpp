#include "app/gui/labels.h"

#include "app/app_settings.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

constexpr const char* kNoteNames[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};

int lowestOctave() { return app::appSettings().shell.middleCIsC3 ? -2 : -1; }

wxString patchText(const Patch& patch) {
  const app::ShellSettings& settings = app::appSettings().shell;
  if (!settings.showBankProgram) return {};
  if (patch.isDrumKit()) return wxString::Format("D:%03d  ", patch.program());
  if (settings.showLowBank)
    return wxString::Format("%03d:%03d:%03d  ", patch.bankMsb(), patch.bankLsb(), patch.program());
  return wxString::Format("%03d:%03d  ", patch.bankMsb(), patch.program());
}

wxString rangesText(const Region& region) {
  wxString text = "   " + keyRangeText(region.keys);
  if (region.velocities != MidiRange{})
    text += wxString::Format(", velocity %d-%d", region.velocities.low, region.velocities.high);
  return text;
}

}  // namespace

wxString keyText(int key) {
  if (!app::appSettings().shell.showNoteNames) return wxString::Format("%d", key);
  return wxString::Format("%s%d", kNoteNames[key % 12], key / 12 + lowestOctave());
}

wxString keyRangeText(const MidiRange& keys) {
  return keys.low == keys.high ? keyText(keys.low) : keyText(keys.low) + "-" + keyText(keys.high);
}

int keyFromText(const wxString& text) {
  const wxString trimmedText = wxString(text).Trim(true).Trim(false).Upper();
  long number = 0;
  if (trimmedText.ToLong(&number)) return number >= 0 && number <= 127 ? static_cast<int>(number) : -1;
  if (trimmedText.empty()) return -1;
  constexpr int kNaturals[] = {9, 11, 0, 2, 4, 5, 7};  // A to G
  const int letter = static_cast<int>(trimmedText[0].GetValue()) - 'A';
  if (letter < 0 || letter >= 7) return -1;
  int note = kNaturals[letter];
  std::size_t at = 1;
  if (at < trimmedText.size() && trimmedText[at] == '#') ++note, ++at;
  if (at < trimmedText.size() && trimmedText[at] == 'B') --note, ++at;
  long octave = 0;
  if (!trimmedText.Mid(at).ToLong(&octave) || octave < -2 || octave > 9) return -1;
  const long key = (octave - lowestOctave()) * 12 + note;
  return key >= 0 && key <= 127 ? static_cast<int>(key) : -1;
}

wxString lengthText(std::uint32_t frames, std::uint32_t rate) {
  const double seconds = rate == 0 ? 0 : static_cast<double>(frames) / rate;
  const auto minutes = static_cast<unsigned>(seconds / 60);
  if (minutes == 0) return wxString::Format("%.3f s", seconds);
  return wxString::Format("%u:%06.3f", minutes, seconds - minutes * 60.0);
}

wxString channelsText(int channels) {
  if (channels == 1) return "Mono";
  return channels == 2 ? wxString("Stereo") : wxString::Format("%d channels", channels);
}

wxString treeText(const Item& item) {
  const wxString name = shown(item.displayName());
  if (item.kind() == ItemKind::Instrument)
    return patchText(static_cast<const Instrument&>(item).patch) + name;
  if (item.kind() == ItemKind::Region) return name + rangesText(static_cast<const Region&>(item));
  return name;
}

std::string_view iconName(ItemKind kind) {
  constexpr std::string_view kNames[] = {"waveform",   "synth", "region", "layer",
                                         "instrument", "track", "song",   "collection"};
  return kNames[std::min<std::size_t>(static_cast<std::size_t>(kind), std::size(kNames) - 1)];
}

wxString countText(std::size_t count, const wxString& word) {
  return wxString::Format("%zu %s%s", count, word, count == 1 ? "" : "s");
}

}  // namespace vemko::gui
