#pragma once
// From a waveform to the bytes of a file's sample data: the one way that all writers take. Stored bytes are
// copied unread where neither encoding nor channels change; everything else is streamed through small blocks
// from the source to floats, to the channel layout, to the encoding.
#include <cstdint>
#include <memory>

#include "codecs/pcm.h"
#include "core/waveform.h"
#include "platform/block_writer.h"

namespace vemko {

/// A stream that turns another one's channels into `to`: mono is the mean of all channels, a mono source is
/// given to every channel, otherwise channels are cut off or filled with silence. The same stream when
/// nothing changes.
std::unique_ptr<SampleStream> withChannels(std::unique_ptr<SampleStream> stream, std::uint8_t from,
                                           std::uint8_t to);

/// The stream of samples that a writer clips at full scale, as all but floats do: when it goes, it tells in
/// the log how many of them lay beyond. The same stream where none can.
std::unique_ptr<SampleStream> watchClipping(std::unique_ptr<SampleStream> stream, const Waveform& waveform,
                                            std::uint8_t channels);

/// Appends all frames of the waveform with that many channels; exactly frames x channels x bytesPerSample
/// bytes. Shows progress. False with the last error message set.
bool writeSamples(const Waveform& waveform, const PcmFormat& format, std::uint8_t channels, BlockWriter& out);

}  // namespace vemko
