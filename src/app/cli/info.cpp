#include "app/cli/commands.h"
#include "app/cli/json.h"
#include "app/cli/output.h"
#include "app/cli/reading.h"
#include "base/last_error.h"
#include "base/text.h"
#include "core/parameters.h"
#include "io/open.h"

namespace vemko::cli {
namespace {

std::string inQuotes(std::u16string_view name) {
  return std::string("\"").append(printable(toUtf8(name))).append("\"");
}

std::string rangeText(const char* word, MidiRange range) {
  return range.low == 0 && range.high == 127 ? "" : formatted(", %s %d-%d", word, range.low, range.high);
}

// A value in decibels that is not 0.
std::string decibelsText(const char* word, float decibels) {
  return decibels == 0 ? "" : formatted(", %s %+g dB", word, static_cast<double>(decibels));
}

void printCounts(const Collection& collection) {
  constexpr const char* kLabels[] = {"Instruments", "Waveforms", "Synths", "Songs"};
  const auto lines = collectionInformation(collection);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::string text = toUtf8(lines[i]);
    for (char& c : text)
      if (c == '\t') c = ' ';
    printLine(formatted("%-12s %s", kLabels[i], text.c_str()));
  }
}

void printRegion(const Region& region) {
  std::string line = "    Region " + inQuotes(region.displayName()) + rangeText("keys", region.keys) +
                     rangeText("velocities", region.velocities);
  if (const Waveform* waveform = region.waveform()) line += ", plays " + inQuotes(waveform->displayName());
  printLine(line + decibelsText("gain", effective(region).get(slots::MasterVolume)));
}

void printInstrument(const Instrument& instrument) {
  const Patch patch = instrument.patch;
  printLine(formatted("Instrument %s, bank %d:%d, program %d%s", inQuotes(instrument.displayName()).c_str(),
                      patch.bankMsb(), patch.bankLsb(), patch.program(), patch.isDrumKit() ? ", drums" : ""));
  for (ItemId id : instrument.children) {
    const auto* layer = instrument.collection().find<Layer>(id);
    if (!layer) continue;
    printLine("  Layer " + inQuotes(layer->displayName()));
    for (const Region* region : regionsOf(*layer)) printRegion(*region);
  }
}

void printRecord(const LoopRecord& record, bool isMain) {
  std::string line = "  " + toUtf8(displayWord(record.type)) + " " + inQuotes(record.name) +
                     formatted(", %.2f", record.startFrames());
  if (record.type != RecordType::PositionMarker) line += formatted(" to %.2f", record.endFrames());
  if (record.type == RecordType::Loop) {
    line += ", " + toUtf8(displayWord(record.play)) + ", " + toUtf8(displayWord(record.count));
    if (record.tuneCents != 0) line += formatted(", %+d cents", record.tuneCents);
    if (isMain) line += ", main";
  }
  printLine(line);
}

void printTexts(const Item& item, const char* indent) {
  for (TextProperty property : kTextProperties)
    if (property != TextProperty::Name && property != TextProperty::Image && !item.text(property).empty())
      printLine(indent + toUtf8(textPropertyLabel(property)) + ": " + printable(toUtf8(item.text(property))));
}

void printWaveform(const Waveform& waveform) {
  const double seconds = waveform.rate > 0 ? static_cast<double>(waveform.frames) / waveform.rate : 0;
  printLine(
      formatted("Waveform %s, %u Hz, %d channel%s, %u frames (%.3f s), root key %d%s%s",
                inQuotes(waveform.displayName()).c_str(), waveform.rate, waveform.channels,
                waveform.channels == 1 ? "" : "s", waveform.frames, seconds, waveform.rootKey,
                waveform.fineTuneCents == 0 ? "" : formatted(" %+d cents", waveform.fineTuneCents).c_str(),
                decibelsText("volume", waveform.volumeAdjustmentDb).c_str()));
  for (const LoopRecord& record : waveform.records) printRecord(record, record.id == waveform.mainLoopId);
  printTexts(waveform, "  ");
}

void printSong(const Song& song) {
  printLine("Song " + inQuotes(song.displayName()));
  for (ItemId id : song.children)
    if (const auto* track = song.collection().find<Track>(id))
      printLine("  Track " + inQuotes(track->displayName()) + formatted(", %u events", track->eventCount()));
}

void printCollection(const Collection& collection, std::size_t noteCount) {
  printLine(formatted("%-12s %s, %d%%", "Format", toUtf8(io::descriptionOf(collection.formatRow)).c_str(),
                      collection.formatConfidence));
  printLine(formatted("%-12s %s", "Name", printable(toUtf8(collection.displayName())).c_str()));
  printTexts(collection, "  ");
  printCounts(collection);
  collection.forEach<Instrument>(printInstrument);
  collection.forEach<Waveform>(printWaveform);
  collection.forEach<Song>(printSong);
  printLine(formatted("%-12s %s", "Notes", noteCount == 0 ? "none" : std::to_string(noteCount).c_str()));
}

}  // namespace

int runInfo(const InfoArguments& arguments) {
  useSettings();
  NoteCollector notes;
  const Path path = pathOf(toUtf16(arguments.file));
  Collection collection;
  const bool ok = folderExists(path) ? fail(u"This is a folder") : io::openFile(collection, path, false);
  const std::vector<std::string> lines = notes.take();
  for (const std::string& note : lines) printNote(arguments.file, note);
  if (!ok) {
    printError(arguments.file, toUtf8(lastError()));
    return kSomeFailed;
  }
  if (arguments.json)
    print(collectionJson(collection, lines));
  else
    printCollection(collection, notes.count());
  return kDone;
}

}  // namespace vemko::cli
