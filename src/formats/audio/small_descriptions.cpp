// Headers of a fixed layout.
#include <algorithm>

#include "base/text.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/descriptions.h"

namespace vemko::audio {
namespace {

// Offsets in the header of Audio Visual Research.
constexpr std::size_t kAvrNameAt = 4, kAvrNameBytes = 8, kAvrLoopAt = 18, kAvrLoopStartAt = 30;
constexpr std::uint16_t kAvrNoKey = 0xFFFF, kAvrSingleKey = 0xFF00;

}  // namespace

void readAvrDescription(Bytes file, Waveform& waveform) {
  ByteReader reader(file);
  reader.skip(kAvrNameAt);
  waveform.setName(decodeText(reader.take(kAvrNameBytes)));
  reader.skip(kAvrLoopAt - kAvrNameAt - kAvrNameBytes);
  const bool isLooped = reader.big<std::uint16_t>() != 0;
  const auto key = reader.big<std::uint16_t>();
  reader.skip(kAvrLoopStartAt - kAvrLoopAt - 4);
  LoopDescriptor loop;
  loop.startFrames = reader.big<std::uint32_t>();
  loop.endFrames = std::min(reader.big<std::uint32_t>(), waveform.frames);
  if (!reader.ok) return;
  if (key != kAvrNoKey && (key & 0xFF00) == kAvrSingleKey)
    waveform.rootKey = static_cast<std::uint8_t>(key & 127);
  if (isLooped && loop.startFrames < loop.endFrames) waveform.addLoop(loop, {}, true, true);
}

bool writeAvrDescription(const DescriptionToWrite& what, ByteSink& sink) {
  const Waveform& waveform = what.waveform;
  ByteWriter name, key, range;
  name.text(toUtf8(waveform.name(), kAvrNameBytes));
  name.zeros(kAvrNameBytes - name.size());
  const LoopRecord* loop = waveform.mainLoop();
  const bool isLooped = loop && loop->play != LoopPlay::Off && loop->end > loop->start;
  putBig(key, static_cast<std::uint16_t>(isLooped ? 0xFFFF : 0));
  putBig(key, static_cast<std::uint16_t>(kAvrSingleKey | waveform.rootKey));
  putBig(range, isLooped ? loop->start : 0);
  putBig(range, isLooped ? loop->end : waveform.frames);
  return sink.writeAt(kAvrNameAt, name.bytes) && sink.writeAt(kAvrLoopAt, key.bytes) &&
         sink.writeAt(kAvrLoopStartAt, range.bytes);
}

void readAuDescription(Bytes file, Waveform& waveform) {
  constexpr std::size_t kHeaderBytes = 24;
  ByteReader reader(file);
  const bool isSwapped = reader.u32() == fourCc("dns.");
  const std::uint32_t dataAt = isSwapped ? reader.u32() : reader.big<std::uint32_t>();
  if (!reader.ok || dataAt <= kHeaderBytes || dataAt > file.size()) return;
  waveform.setText(TextProperty::Comments, decodeText(file.first(dataAt).subspan(kHeaderBytes)));
}

}  // namespace vemko::audio
