#pragma once
// The volume tools: their options, kept for the run, and what they do.
#include "tools/tool_entry.h"

namespace vemko::tools {

enum VolumeMeasure : int { kPeakMeasure, kLoudnessMeasure, kRmsMeasure, kRmsAroundPeakMeasure };

struct FindVolumeOptions {
  int measure = kPeakMeasure;
  bool appendToName = true;
  bool subtractFromAdjustment = false;
  bool normalize = false;
};

struct AdjustVolumeOptions {
  double decibels = 0;
  bool metaDataOnly = false;
};

enum NormalizeTarget : int { kSetAdjustment, kModifyAudio };

/// 89 dB is the reference level in common use today, 83 that of the measure itself. The audio is changed by
/// default: few file formats store the volume adjustment.
struct NormalizeOptions {
  double desiredDecibels = 89;
  bool equalLoudness = true;
  bool singleRecording = false;
  bool channelsSeparately = false;  ///< Has a meaning with kModifyAudio and without singleRecording only.
  int target = kModifyAudio;
};

FindVolumeOptions& findVolumeOptions();
AdjustVolumeOptions& adjustVolumeOptions();
NormalizeOptions& normalizeOptions();

/// The loudness of a single recording is that of all its waveforms.
bool normalizeRelatesItems();

void applyFindVolume(ToolContext& context);
void applyAdjustVolume(ToolContext& context);
void applyNormalize(ToolContext& context);
void applyMaximize(ToolContext& context);
void applyRemoveOffset(ToolContext& context);
void applyStatistics(ToolContext& context);

/// The waveform's volume in decibels by one of the measures.
float measureVolume(const Waveform& waveform, VolumeMeasure measure);

}  // namespace vemko::tools
