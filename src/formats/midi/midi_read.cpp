#include <algorithm>
#include <optional>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "core/midi_events.h"
#include "formats/midi/midi.h"
#include "formats/midi/midi_file.h"

namespace vemko::midi {
namespace {

constexpr std::uint32_t kHeaderId = fourCc("MThd"), kTrackId = fourCc("MTrk");
constexpr std::uint16_t kUsualDivision = 24;

bool isId(Bytes at, std::uint32_t id) { return at.size() >= 4 && ByteReader(at).u32() == id; }

bool isChunkId(Bytes at) {
  return at.size() >= 8 && std::all_of(at.begin(), at.begin() + 4, [](std::byte b) {
           return b >= std::byte{0x20} && b < std::byte{0x7F};
         });
}

struct Header {
  std::uint16_t format = 1, tracks = 0, division = kUsualDivision;
};

// The length of the events up to the end of the track; nothing where there is none.
std::optional<std::size_t> lengthToEnd(Bytes events) {
  MidiEventWalker walker(events);
  for (MidiEvent event; walker.next(event);)
    if (event.status == kMetaStatus && event.metaType == kEndOfTrackMeta)
      return events.size() - walker.rest().size();
  return std::nullopt;
}

class SongReader {
 public:
  explicit SongReader(Bytes bytes) : reader_(bytes) {}

  bool readHeader(Header& header) {
    const bool isMidi = reader_.u32() == kHeaderId;
    const std::uint32_t length = reader_.big<std::uint32_t>();
    ByteReader fields(reader_.take(std::min<std::uint64_t>(length, reader_.remaining())));
    header.format = fields.big<std::uint16_t>();
    header.tracks = fields.big<std::uint16_t>();
    header.division = fields.big<std::uint16_t>();
    if (!isMidi || !fields.ok) return fail(u"Not a Standard MIDI file");
    if (header.format > 2) {
      logWarning(u"The format number of the MIDI file is unknown, its tracks are taken as parallel");
      header.format = 1;
    }
    if (header.division == 0) {
      logWarning(u"The MIDI file has no time division, 24 ticks a quarter note are taken");
      header.division = kUsualDivision;
    }
    return true;
  }

  // The body of the next track.
  bool nextTrack(Bytes& events, Complaints& complaints) {
    while (reader_.remaining() >= 8) {
      const Bytes rest = reader_.bytes.subspan(reader_.pos);
      if (!isChunkId(rest)) {
        if (!seekTrack(rest, complaints)) return false;
        continue;
      }
      const bool isTrack = reader_.u32() == kTrackId;
      const std::uint32_t claimed = reader_.big<std::uint32_t>();
      if (isTrack) {
        events = reader_.take(trackLength(claimed, complaints));
        return true;
      }
      reader_.skip(std::min<std::uint64_t>(claimed, reader_.remaining()));
    }
    return false;
  }

 private:
  // Whether a track may end there: at the end, or before another chunk.
  static bool isBoundary(Bytes at) { return at.size() < 8 || isChunkId(at); }

  std::size_t trackLength(std::uint32_t claimed, Complaints& complaints) const {
    const Bytes rest = reader_.bytes.subspan(reader_.pos);
    if (claimed <= rest.size() && isBoundary(rest.subspan(claimed))) return claimed;
    complaints.add(u"The length of a track is wrong");
    const auto length = lengthToEnd(rest);
    if (length && (isBoundary(rest.subspan(*length)) || claimed > rest.size())) return *length;
    return std::min<std::size_t>(claimed, rest.size());
  }

  bool seekTrack(Bytes rest, Complaints& complaints) {
    complaints.add(u"Bytes between the tracks are passed over");
    const Bytes id = asBytes("MTrk");
    const auto found = std::search(rest.begin(), rest.end(), id.begin(), id.end());
    if (found == rest.end()) return false;
    reader_.skip(static_cast<std::uint64_t>(found - rest.begin()));
    return true;
  }

  ByteReader reader_;
};

struct TrackFacts {
  std::u16string name, copyright;
  std::optional<std::uint32_t> channel;
  bool isOneChannel = true;
};

TrackFacts factsOf(Bytes events, Complaints& complaints) {
  TrackFacts facts;
  MidiEventWalker walker(events);
  for (MidiEvent event; walker.next(event);) {
    if (event.status == kMetaStatus) {
      if (event.metaType == kNameMeta && facts.name.empty()) facts.name = decodeText(event.data);
      if (event.metaType == kCopyrightMeta && facts.copyright.empty())
        facts.copyright = decodeText(event.data);
    } else if (event.status < 0xF0) {
      const std::uint32_t channel = event.status & 0xF;
      facts.isOneChannel = facts.isOneChannel && facts.channel.value_or(channel) == channel;
      facts.channel = channel;
    }
  }
  if (!walker.rest().empty())
    complaints.add(u"A track holds bytes that are no events, which are kept as they are");
  else if (!isEnded(events))
    complaints.add(u"A track has no end");
  return facts;
}

}  // namespace

bool isEnded(Bytes track) {
  MidiEventWalker walker(track);
  bool isEnd = false;
  for (MidiEvent event; walker.next(event);)
    isEnd = event.status == kMetaStatus && event.metaType == kEndOfTrackMeta;
  return isEnd || !walker.rest().empty();
}

Song* parseSong(Bytes bytes, std::u16string_view name, Collection& collection) {
  SongReader reader(bytes);
  Header header;
  if (!reader.readHeader(header)) return nullptr;
  Complaints complaints;
  Song& song = createSong(collection, name);
  song.settings = std::uint32_t{header.division} << 16 | header.format;
  for (Bytes events; reader.nextTrack(events, complaints);) {
    const TrackFacts facts = factsOf(events, complaints);
    const bool isFirst = song.children.empty();
    Track& track = createTrack(song, facts.name);
    track.setEvents(events);
    if (facts.channel && facts.isOneChannel) track.channel = *facts.channel;
    if (isFirst && !trimmed(facts.name).empty()) song.setName(facts.name);
    if (song.text(TextProperty::Copyright).empty()) song.setText(TextProperty::Copyright, facts.copyright);
  }
  if (song.children.size() != header.tracks)
    logWarning(toUtf16(
        formatted("The MIDI file announces %u tracks and holds %zu", header.tracks, song.children.size())));
  return &song;
}

int probeFile(Bytes head, std::uint32_t, std::uint64_t) { return isId(head, kHeaderId) ? 6 : 0; }

bool readFile(Collection& collection, InputFile& file, std::uint32_t) {
  const Bytes bytes = file.bytes();
  if (bytes.empty() && file.size() != 0) return false;
  const std::u16string stem = textOf(file.path().stem());
  if (!parseSong(bytes, stem, collection)) return false;
  collection.setName(stem);
  return true;
}

}  // namespace vemko::midi
