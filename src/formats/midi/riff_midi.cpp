#include <algorithm>
#include <optional>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "base/version.h"
#include "formats/midi/midi.h"
#include "formats/midi/midi_file.h"
#include "formats/riff/info.h"
#include "formats/riff/riff.h"
#include "io/detect.h"
#include "io/save_steps.h"

namespace vemko::midi {
namespace {

constexpr std::uint64_t kHeadBytes = 12;
constexpr std::u16string_view kCannotSave = u"The file format can not save this item";

bool isRiffMidi(Bytes head) {
  ByteReader reader(head);
  const bool isRiff = reader.u32() == fourCc("RIFF");
  reader.u32();
  return isRiff && reader.u32() == fourCc("RMID");
}

// The bank is read by whatever row of the table knows it.
void readBank(const InputFile& file, std::uint64_t offset, std::uint64_t size, Collection& collection) {
  const LastErrorKeeper keeper;
  InputFile part;
  if (!part.openPart(file, offset, size)) return;
  const io::FormatEntry* row = io::formatRow(io::detect(file.path(), part).row);
  const bool isBank = row && row->reader && (row->kinds & kindBit(ItemKind::Instrument)) != 0;
  if (!isBank || !row->reader(collection, part, row->variant))
    logWarning(u"The instruments of the RIFF-MIDI file cannot be read: " +
               (isBank ? lastError() : std::u16string(u"their format is unknown")));
}

// The bank that belongs to the song is the whole collection's.
bool appendBank(Collection& collection, const io::SaveOptions& options, OutputFile& file) {
  const int row = io::findWritingRowByDescription(
      options.variant == kWithLevel1 ? u"DownLoadable Sounds level 1" : u"DownLoadable Sounds level 2");
  const io::SaveOptions bankOptions = io::saveOptionsFor(row, options.requested & ~io::kMidiEvents);
  io::PreparedItem prepared;
  return io::prepareItem(&collection, row, bankOptions, false, io::formatTable(), prepared) &&
         io::formatRow(row)->writer(*prepared.item, file, bankOptions);
}

Song* songOf(Item& item) {
  if (item.kind() == ItemKind::Song) return static_cast<Song*>(&item);
  if (item.kind() != ItemKind::Collection) return nullptr;
  const auto songs = item.collection().all<Song>();
  if (songs.size() > 1) logWarning(u"A RIFF-MIDI file holds one song; the others are left out");
  return songs.empty() ? nullptr : songs.front();
}

}  // namespace

int probeRiffMidi(Bytes head, std::uint32_t, std::uint64_t) { return isRiffMidi(head) ? 6 : 0; }

bool readRiffMidi(Collection& collection, InputFile& file, std::uint32_t) {
  const Bytes bytes = file.bytes();
  if (bytes.empty() && file.size() != 0) return false;
  if (!isRiffMidi(bytes)) return fail(u"Not a RIFF-MIDI file");
  std::optional<Bytes> song;
  std::vector<riff::InfoText> info;
  bool hasBank = false;
  riff::ChunkWalker walker(bytes.subspan(kHeadBytes));
  for (riff::Chunk chunk; walker.next(chunk);) {
    if (chunk.id == fourCc("data") && !song) song = chunk.body;
    if (chunk.id == fourCc("LIST") && riff::listType(chunk.body) == fourCc("INFO") && info.empty())
      info = riff::parseInfoTexts(riff::listContents(chunk.body));
    if (chunk.id != fourCc("RIFF") || hasBank) continue;
    hasBank = true;
    readBank(file, kHeadBytes + chunk.offset - 8, 8 + chunk.body.size(), collection);
  }
  if (!song) return fail(u"Not a Standard MIDI file");
  const auto name = std::ranges::find(info, fourCc("INAM"), &riff::InfoText::id);
  const std::u16string stem = textOf(file.path().stem());
  Song* read = parseSong(*song, name != info.end() ? decodeText(asBytes(name->text)) : stem, collection);
  if (!read) return false;
  std::erase_if(info, [](const riff::InfoText& text) { return text.id == fourCc("INAM"); });
  riff::applyInfoTexts(info, *read);
  if (!hasBank) collection.setName(stem);
  return true;
}

bool writeRiffMidi(Item& item, OutputFile& file, const io::SaveOptions& options) {
  const Song* song = songOf(item);
  if (!song) return fail(kCannotSave);
  riff::ChunkBuilder riff;
  riff.open(fourCc("RIFF"));
  riff.out.u32(fourCc("RMID"));
  riff.add(fourCc("data"), buildSong(*song, kOwnFormat));
  std::vector<riff::InfoText> info = riff::infoTextsOf(*song, {});
  info.push_back({fourCc("ISFT"), kSoftwareName});
  riff::appendInfoTexts(info, riff.out);
  riff.close();
  if (!file.write(riff.out.bytes)) return false;
  Collection& collection = item.collection();
  if (options.variant == kWithoutBank || collection.count(ItemKind::Instrument) == 0) return true;
  if (!appendBank(collection, options, file)) return false;
  ByteWriter size;
  size.u32(static_cast<std::uint32_t>(file.size() - 8));
  return file.writeAt(4, size.bytes);
}

}  // namespace vemko::midi
