#pragma once
// The pass that tidies what a reader has built: each step a function of its own, switched by an option.
#include <span>
#include <string_view>

#include "core/collection.h"

namespace vemko::io {

struct FixupOptions {
  bool splitStereo = false;
  bool mergeStereo = true;
  bool compactLayers = true;
  bool removeDuplicateWaves = true;
  bool moveArticulation = false;
  bool moveTriggerParameters = true;
  bool append32 = false;
  bool bidirectionalToForward = false;
  bool sortCollection = true;
  bool sortWaves = true;
  bool ensureUniqueNames = true;
};

struct FixupStep {
  std::string_view name;  ///< For `--fixup NAME=0|1`: "split-stereo", ...
  std::u16string_view description;
  std::u16string_view status;  ///< Shown while the step runs; empty: the pass's own text stays.
  bool FixupOptions::*option;  ///< Null: always runs.
  KindMask kinds;              ///< The step changes items of these kinds.
  bool (*apply)(Collection&);  ///< False with the last error set when the step could not finish.
};

/// In the order in which they run.
std::span<const FixupStep> fixupSteps();

/// The options in force; set by the settings and the command line.
FixupOptions& fixupOptions();

/// Runs the steps that are switched on and whose kinds lie within `kinds`. A step that fails is logged and
/// the pass goes on: a tidy-up never costs the user the file. Only when memory runs out in one, which may
/// leave it half done, does the pass end and fail with "Out of memory".
bool fixUp(Collection& collection, KindMask kinds, bool withProgress);
inline constexpr KindMask kAllKinds = 0xFF;

// The steps, each with the rule it follows at its definition.
bool splitStereo(Collection& collection);
bool mergeStereo(Collection& collection);
bool compactLayers(Collection& collection);
bool removeDuplicateWaves(Collection& collection);
bool moveArticulation(Collection& collection);
bool moveTriggerParameters(Collection& collection);
bool append32(Collection& collection);
bool bidirectionalToForward(Collection& collection);
bool sortCollection(Collection& collection);
bool sortWaves(Collection& collection);
bool ensureUniqueNames(Collection& collection);
/// Sets each waveform's source-format code from the encoding in its file.
bool classifySources(Collection& collection);

}  // namespace vemko::io
