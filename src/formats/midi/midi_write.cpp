#include <algorithm>

#include "base/last_error.h"
#include "core/midi_events.h"
#include "formats/midi/midi.h"
#include "formats/midi/midi_file.h"

namespace vemko::midi {
namespace {

void appendBig(std::uint32_t value, int bytes, ByteWriter& out) {
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) out.u8(static_cast<std::uint8_t>(value >> shift));
}

void appendTrack(Bytes events, ByteWriter& out) {
  constexpr std::uint8_t kEnd[] = {0, kMetaStatus, kEndOfTrackMeta, 0};
  const Bytes end = isEnded(events) ? Bytes() : std::as_bytes(std::span(kEnd));
  out.text("MTrk");
  appendBig(static_cast<std::uint32_t>(events.size() + end.size()), 4, out);
  out.append(events);
  out.append(end);
}

}  // namespace

std::vector<std::byte> buildSong(const Song& song, std::uint32_t variant) {
  std::vector<Bytes> tracks;
  for (ItemId id : song.children)
    if (const auto* track = song.collection().find<Track>(id)) tracks.push_back(track->events());
  std::uint32_t format = song.settings & 0xFFFF;
  std::vector<std::vector<std::byte>> made;
  if (variant == kSingleTrack && tracks.size() != 1) made.push_back(mergeTracks(tracks));
  if (variant == kParallelTracks && tracks.size() == 1) made = splitByChannel(tracks.front());
  if (!made.empty()) tracks.assign(made.begin(), made.end());
  if (variant == kSingleTrack) format = 0;
  if (variant == kParallelTracks || (format == 0 && tracks.size() != 1)) format = 1;

  ByteWriter out;
  out.text("MThd");
  appendBig(6, 4, out);
  appendBig(format, 2, out);
  appendBig(static_cast<std::uint32_t>(std::min<std::size_t>(tracks.size(), 0xFFFF)), 2, out);
  appendBig(song.settings >> 16, 2, out);
  for (Bytes events : tracks) appendTrack(events, out);
  return std::move(out.bytes);
}

bool writeFile(Item& item, OutputFile& file, const io::SaveOptions& options) {
  if (item.kind() != ItemKind::Song) return fail(u"The file format can not save this item");
  return file.write(buildSong(static_cast<const Song&>(item), options.variant));
}

}  // namespace vemko::midi
