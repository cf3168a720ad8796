#pragma once
// What the readers and writers of this room share.
#include <memory>

#include "codecs/bridge.h"
#include "core/collection.h"
#include "io/format_entry.h"
#include "io/sample_layout.h"

namespace vemko::audio {

/// Adds a waveform with these samples; null, with "Wave too big - use 64-bit version!" set, for more frames
/// than a waveform counts.
Waveform* addWaveform(Collection& collection, const CompressedSamples& samples);

/// The APE tag, and the ID3v1 tag that may stand behind it; for what has no text yet.
void readTagsAtEnd(Bytes file, Waveform& waveform);

/// After the texts were read: a waveform without a name takes the file's.
void nameAfterFile(Waveform& waveform, const InputFile& file);

/// The name says no more than the file's name, of the file to be written or of the one that was read.
bool isNamedAfterFile(const Waveform& waveform, const Path& target);

/// A waveform on its way to an encoder.
struct WriteJob {
  const Waveform* waveform = nullptr;
  io::SampleLayout layout;
  std::unique_ptr<SampleStream> stream;

  EncoderInput input() const { return {*stream, waveform->frames, waveform->rate, layout.channels}; }
};
/// Channels above `mostChannels` are left out, with a warning. Fails with "The file format can not save this
/// item" for anything but a waveform, and as opening samples does.
bool prepareWrite(Item& item, const io::SaveOptions& options, io::CapabilityMask capabilities,
                  std::uint8_t mostChannels, WriteJob& job);

/// At most `most` channels; a warning is logged where some are left out.
std::uint8_t limitedChannels(std::uint8_t channels, std::uint8_t most);

/// Width of the integers of an encoding; 24 for any other.
unsigned bitsOf(SampleEncoding encoding);

}  // namespace vemko::audio
