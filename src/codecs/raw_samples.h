#pragma once
// Samples of a file that tells nothing about itself: its bytes are taken in a format that the user gives, and
// may give anew as long as the samples were not edited.
#include <memory>
#include <optional>

#include "core/waveform.h"
#include "io/decisions.h"

namespace vemko {

/// How many frames a file of that size holds in the format; 0 for an encoding that raw samples cannot have.
std::uint64_t rawFrames(const io::RawFormat& format, std::uint64_t fileSize);

/// Makes the file's bytes the waveform's deferred samples, with the format's channels and rate. What lies
/// behind 2^32 - 1 frames is left out; loops and markers are brought within the new length. False, with
/// "Unsupported format of raw samples" or "Could not open file" set, when it cannot be done; the waveform
/// stays as it is then.
bool setRawSamples(Waveform& waveform, std::shared_ptr<SourceFile> file, const io::RawFormat& format);

/// The format of a waveform that got its samples so and still has them; its rate is the waveform's.
std::optional<io::RawFormat> rawFormatOf(const Waveform& waveform);

}  // namespace vemko
