#pragma once
// The options of the volume tools as rows.
#include <cmath>

#include "tools/volume_tools.h"

namespace vemko::tools {

// In the order of VolumeMeasure.
inline constexpr ToolChoice kMeasures[] = {
    {u"Peak amplitude value", "peak"},
    {u"ReplayGain algorithm", "replaygain"},
    {u"RMS of the entire waveform", "rms"},
    {u"RMS around the peak value", "rms-around-peak"},
};

// In the order of NormalizeTarget.
inline constexpr ToolChoice kTargets[] = {
    {u"Set the volume adjustment parameter", "adjustment"},
    {u"Modify the actual audio data, then zero the volume parameter", "audio"},
};

inline constexpr double kMaxDecibels = 200;

// clang-format off
inline constexpr ToolOption kFindVolumeOptionRows[] = {
    choiceOption(u"Volume measure:", "measure", []() -> OptionField { return &findVolumeOptions().measure; }, FindVolumeOptions().measure, kMeasures),
    checkOption(u"Append volume to waveform name", "append", []() -> OptionField { return &findVolumeOptions().appendToName; }, FindVolumeOptions().appendToName),
    checkOption(u"Subtract from the wave volume adjustment", "subtract", []() -> OptionField { return &findVolumeOptions().subtractFromAdjustment; }, FindVolumeOptions().subtractFromAdjustment),
    checkOption(u"Normalize wave volume (Warning! May clip!)", "normalize", []() -> OptionField { return &findVolumeOptions().normalize; }, FindVolumeOptions().normalize),
};

inline constexpr ToolOption kAdjustVolumeOptionRows[] = {
    {u"Adjust the volume by:", "gain", []() -> OptionField { return &adjustVolumeOptions().decibels; }, AdjustVolumeOptions().decibels, -kMaxDecibels, kMaxDecibels, u"dB", "%.2lf", {}},
    checkOption(u"Modify only the Volume meta data (instead of modifying the actual wavesamples)", "meta", []() -> OptionField { return &adjustVolumeOptions().metaDataOnly; }, AdjustVolumeOptions().metaDataOnly),
};

inline constexpr ToolOption kNormalizeOptionRows[] = {
    {u"Desired peak volume:", "level", []() -> OptionField { return &normalizeOptions().desiredDecibels; }, NormalizeOptions().desiredDecibels, 0, kMaxDecibels, u"dB SPL", "%.2f", {},
     [](double value) { return std::trunc(value * 100 + 0.5) * 0.01; }},
    checkOption(u"Use equal-loudness curve to correct for ears varying sensitivity at different frequencies.", "equal-loudness", []() -> OptionField { return &normalizeOptions().equalLoudness; }, NormalizeOptions().equalLoudness),
    checkOption(u"Treat all selected waves as a single recording", "single", []() -> OptionField { return &normalizeOptions().singleRecording; }, NormalizeOptions().singleRecording),
    checkOption(u"Normalize l/r stereo channels separately.", "separate", []() -> OptionField { return &normalizeOptions().channelsSeparately; }, NormalizeOptions().channelsSeparately,
                [] { return normalizeOptions().target == kModifyAudio && !normalizeOptions().singleRecording; }),
    choiceOption(u"", "target", []() -> OptionField { return &normalizeOptions().target; }, NormalizeOptions().target, kTargets),
};
// clang-format on

}  // namespace vemko::tools
