#include "formats/sfz/sfz_opcodes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <deque>
#include <vector>

#include "core/parameters.h"

namespace vemko::sfz {
namespace {

constexpr float kFrames = 4294967295.0f;
constexpr float kLowestGroup = -2147483648.0f;
using enum Field;

// clang-format off
constexpr OpcodeRow kRows[] = {
  // name             field                form    slot                         factor minimum maximum dialects
  {"sample",          Sample,              Form::Text},
  {"lokey",           LowKey,              Form::Key, 0,                        1,     -1,     127},
  {"hikey",           HighKey,             Form::Key, 0,                        1,     -1,     127},
  {"key",             AllKeys,             Form::Key, 0,                        1,     -1,     127,    kReadOnly},
  {"pitch_keycenter", KeyCenter,           Form::Key, 0,                        1,     0,      127},
  {"lovel",           LowVelocity,         Form::Whole,  0,                           1,     0,      127},
  {"hivel",           HighVelocity,        Form::Whole,  0,                           1,     0,      127},
  {"lo@",             ControllerLow,       Form::Whole,  0,                           1,     0,      127},
  {"hi@",             ControllerHigh,      Form::Whole,  0,                           1,     0,      127},
  {"on_lo@",          StartLow,            Form::Whole,  0,                           1,     0,      127},
  {"on_hi@",          StartHigh,           Form::Whole,  0,                           1,     0,      127},
  {"group",           GroupNumber,        Form::Whole,  0,                           1,     kLowestGroup, kFrames},
  {"off_by",          OffBy,               Form::Whole,  0,                           1,     kLowestGroup, kFrames},
  {"off_mode",        OffMode,             Form::Word},
  {"lorand",          LowRandom,           Form::Number, 0,                           1,     0,      1},
  {"hirand",          HighRandom,          Form::Number, 0,                           1,     0,      1},
  {"seq_length",      SequenceLength,      Form::Whole,  0,                           1,     1,      65535},
  {"seq_position",    SequencePosition,    Form::Whole,  0,                           1,     1,      65535},
  {"trigger",         TriggerKind,      Form::Word},
  {"sw_lokey",        SwitchLowKey,        Form::Key, 0,                        1,     0,      127},
  {"sw_hikey",        SwitchHighKey,       Form::Key, 0,                        1,     0,      127},
  {"sw_last",         SwitchLast,          Form::Key, 0,                        1,     -1,     127},
  {"sw_lolast",       SwitchLowLast,       Form::Key, 0,                        1,     -1,     127},
  {"sw_hilast",       SwitchHighLast,      Form::Key, 0,                        1,     -1,     127},
  {"sw_default",      SwitchAtStart,       Form::Key, 0,                        1,     -1,     127},
  {"sw_down",         SwitchDown,          Form::Key, 0,                        1,     -1,     127},
  {"sw_up",           SwitchUp,            Form::Key, 0,                        1,     -1,     127},
  {"sw_previous",     SwitchPrevious,      Form::Key, 0,                        1,     -1,     127},
  {"xfin_lokey",      FadeInLowKey,        Form::Key, 0,                        1,     0,      127},
  {"xfin_hikey",      FadeInHighKey,       Form::Key, 0,                        1,     0,      127},
  {"xfout_lokey",     FadeOutLowKey,       Form::Key, 0,                        1,     0,      127},
  {"xfout_hikey",     FadeOutHighKey,      Form::Key, 0,                        1,     0,      127},
  {"xfin_lovel",      FadeInLowVelocity,   Form::Whole,  0,                           1,     0,      127},
  {"xfin_hivel",      FadeInHighVelocity,  Form::Whole,  0,                           1,     0,      127},
  {"xfout_lovel",     FadeOutLowVelocity,  Form::Whole,  0,                           1,     0,      127},
  {"xfout_hivel",     FadeOutHighVelocity, Form::Whole,  0,                           1,     0,      127},
  {"xf_keycurve",     KeyCurve,            Form::Word},
  {"xfin_lo@",        FadeInLowController, Form::Whole,  0,                           1,     0,      127},
  {"xfin_hi@",        FadeInHighController, Form::Whole, 0,                           1,     0,      127},
  {"xfout_lo@",       FadeOutLowController, Form::Whole, 0,                           1,     0,      127},
  {"xfout_hi@",       FadeOutHighController, Form::Whole, 0,                          1,     0,      127},
  {"xf_velcurve",     VelocityCurve,       Form::Word},
  {"xf_cccurve",      ControllerCurve,     Form::Word},
  {"delay",           Delay,               Form::Number, 0,                           1,     0,      100},
  {"delay_samples",   DelaySamples,        Form::Whole,  0,                           1,     0,      kFrames, kReadOnly},
  {"offset",          Offset,              Form::Whole,  0,                           1,     0,      kFrames},
  {"offset@68",       AltOffset,           Form::Whole,  0,                           1,     0,      kFrames},
  {"end",             End,                 Form::Whole,  0,                           1,     -1,     kFrames},
  {"loop_mode",       LoopMode,            Form::Word},
  {"loop_start",      LoopStart,           Form::Whole,  0,                           1,     0,      kFrames},
  {"loop_end",        LoopEnd,             Form::Whole,  0,                           1,     0,      kFrames},
  {"loop_type",       LoopType,            Form::Word},
  {"loop_tune",       LoopTune,            Form::Number, 0,                           1,     -1200,  1200,   kV2},
  {"region_label",    Label,               Form::Text,   0,                           1,     0,      0,      kReadOnly},
  {"group_label",     GroupLabel,          Form::Text,   0,                           1,     0,      0,      kReadOnly},
  {"transpose",       Transpose,           Form::Whole,  0,                           1,     -127,   127},
  {"tune",            Tune,                Form::Number, 0,                           1,     -9600,  9600},
  {"tune@135",        RandomTuneUp,        Form::Number, 0,                           1,     -9600,  9600,   kReadOnly},
  {"tune@136",        Direct,         Form::Number, slots::RandomToPitch,         .01,  -9600,  9600,   kReadOnly},
  {"pitch_random",    Direct,         Form::Number, slots::RandomToPitch,         .01,  0,      9600},
  {"pitch_keytrack",  Direct,         Form::Number, slots::KeyToPitch,            .01,  -1200,  1200},
  {"bend_up",         Direct,         Form::Number, slots::BendToPitch,           .01,  -9600,  9600},
  {"bend_down",       BendDown,            Form::Number, 0,                           1,     -9600,  9600},
  {"volume",          Volume,              Form::Number, 0,                           1,     -144,   144},
  {"amplitude",       Amplitude,           Form::Number, 0,                           1,     0,      10000,  kReadOnly},
  {"amplitude@7",     Ignored,             Form::Number, 0,                           1,     0,      0,      kReadOnly},
  {"amplitude@11",    Ignored,             Form::Number, 0,                           1,     0,      0,      kReadOnly},
  {"group_volume",    OuterVolume,         Form::Number, 0,                           1,     -144,   144,    kReadOnly},
  {"master_volume",   OuterVolume,         Form::Number, 0,                           1,     -144,   144,    kReadOnly},
  {"global_volume",   OuterVolume,         Form::Number, 0,                           1,     -144,   144,    kReadOnly},
  {"volume@1",        Direct,         Form::Number, slots::ModWheelToVolume,     1,     -144,   144},
  {"volume@129",      Direct,         Form::Number, slots::AftertouchToVolume,   1,     -144,   144},
  {"volume@135",      RandomVolumeUp,      Form::Number, 0,                           1,     -144,   144,    kReadOnly},
  {"volume@136",      Direct,         Form::Number, slots::RandomToVolume,       1,     -144,   144,    kReadOnly},
  {"amp_random",      Direct,         Form::Number, slots::RandomToVolume,       1,     0,      96},
  {"amp_veltrack",    Direct,         Form::Number, slots::VelocityResponse,      .01,  -10000, 10000},
  {"amp_keytrack",    KeyToVolume,         Form::Number, 0,                           1,     -96,    12},
  {"amp_keycenter",   VolumeKeyCenter,     Form::Key, 0,                        1,     0,      127,    kReadOnly},
  {"pan",             Direct,         Form::Number, slots::Pan,                   .01,  -100,   100},
  {"pan@10",          Direct,         Form::Number, slots::Cc10ToPan,             .01,  -1000,  1000,   kV2},
  {"pan@136",         Direct,         Form::Number, slots::RandomToPan,           .01,  0,      100,    kReadOnly},
  {"pan_random",      Direct,         Form::Number, slots::RandomToPan,           .01,  0,      100},
  {"pan_keytrack",    KeyToPan,            Form::Number, 0,                           1,     -100,   100},
  {"pan_keycenter",   PanKeyCenter,        Form::Key, 0,                        1,     0,      127,    kReadOnly},
  {"fil_type",        FilterShape,   Form::Word},
  {"cutoff",          Cutoff,              Form::Hertz,  0,                           1,     0,      96000},
  {"cutoff@1",        Direct,         Form::Number, slots::ModWheelToCutoff,      .01,  -12800, 12800},
  {"cutoff@129",      Direct,         Form::Number, slots::AftertouchToCutoff,    .01,  -12800, 12800},
  {"cutoff@74",       Direct,         Form::Number, slots::Cc74ToCutoff,          .01,  -12800, 12800},
  {"fil_veltrack",    Amount,              Form::Number, slots::VelocityToCutoff,     1,     -25600, 25600},
  {"fil_keytrack",    Amount,              Form::Number, slots::KeyToCutoff,          1,     -1200,  1200},
  {"fil_keycenter",   CutoffKeyCenter,     Form::Key, 0,                        1,     0,      127,    kReadOnly},
  {"resonance",       Direct,         Form::Number, slots::FilterResonance,      1,     -96,    96},
  {"resonance@1",     Direct,         Form::Number, slots::ModWheelToResonance,  1,     -96,    96,     kV2},
  {"resonance@129",   Direct,         Form::Number, slots::AftertouchToResonance,1,     -96,    96,     kV2},
  {"resonance@71",    Direct,         Form::Number, slots::Cc71ToResonance,      1,     -96,    96},
  {"resonance@131",   Amount,              Form::Number, slots::VelocityToResonance,  1,     -192,   192,    kV2},
  {"effect1",         Effect,              Form::Number, 0,                            .01,  0,      100},
  {"effect2",         Effect,              Form::Number, 1,                            .01,  0,      100},
  {"effect3",         Effect,              Form::Number, 2,                            .01,  0,      100},
  {"effect4",         Effect,              Form::Number, 3,                            .01,  0,      100},
  {"effect1@91",      EffectController,    Form::Number, 0,                            .01,  0,      100,    kV2},
  {"effect2@93",      EffectController,    Form::Number, 1,                            .01,  0,      100,    kV2},
  {"effect3@92",      EffectController,    Form::Number, 2,                            .01,  0,      100,    kV2},
  {"effect4@94",      EffectController,    Form::Number, 3,                            .01,  0,      100,    kV2},
  {"eq#_freq",        EqFrequency,         Form::Number, 0,                           1,     0,      96000},
  {"eq#_gain",        EqGain,              Form::Number, 0,                           1,     -96,    96},
  {"eq#_bw",          EqBandwidth,         Form::Number, 0,                           1,     .001f,  16},
  {"eq#_type",        EqType,              Form::Word,   0,                           1,     0,      0,      kV2},
  {"lfo#_wave",       LfoWave,             Form::Whole,  0,                           1,     0,      255,    kV2},
  {"lfo#_freq",       LfoFrequency,        Form::Number, 0,                           1,     0,      1000,   kV2},
  {"lfo#_delay",      LfoDelay,            Form::Number, 0,                           1,     0,      100,    kV2},
  {"lfo#_fade",       LfoFade,             Form::Number, 0,                           1,     0,      100,    kV2},
  {"lfo#_pitch",      LfoPitch,            Form::Number, 0,                            .01,  -12000, 12000,  kV2},
  {"lfo#_pitch@1",    LfoPitch,            Form::Number, 1,                            .01,  -12000, 12000,  kV2},
  {"lfo#_pitch@129",  LfoPitch,            Form::Number, 2,                            .01,  -12000, 12000,  kV2},
  {"lfo#_pitch@131",  LfoPitch,            Form::Number, 3,                            .01,  -24000, 24000,  kV2},
  {"lfo#_volume",     LfoVolume,           Form::Number, 0,                           1,     -144,   144,    kV2},
  {"lfo#_volume@1",   LfoVolume,           Form::Number, 1,                           1,     -144,   144,    kV2},
  {"lfo#_volume@129", LfoVolume,           Form::Number, 2,                           1,     -144,   144,    kV2},
  {"lfo#_volume@131", LfoVolume,           Form::Number, 3,                           1,     -288,   288,    kV2},
  {"lfo#_cutoff",     LfoCutoff,           Form::Number, 0,                            .01,  -12800, 12800,  kV2},
  {"lfo#_cutoff@1",   LfoCutoff,           Form::Number, 1,                            .01,  -12800, 12800,  kV2},
  {"lfo#_cutoff@129", LfoCutoff,           Form::Number, 2,                            .01,  -12800, 12800,  kV2},
  {"lfo#_cutoff@131", LfoCutoff,           Form::Number, 3,                            .01,  -25600, 25600,  kV2},
  {"lfo#_pan",        LfoPan,              Form::Number, 0,                            .01,  -100,   100,    kV2},
  {"eg#_points",      EgPoints,            Form::Whole,  0,                           1,     0,      255,    kV2},
  {"eg#_sustain",     EgSustain,           Form::Whole,  0,                           1,     0,      255,    kV2},
  {"eg#_level#",      EgLevel,             Form::Number, 0,                           1,     -1,     1,      kV2},
  {"eg#_time#",       EgTime,              Form::Number, 0,                           1,     0,      1000,    kV2},
  {"eg#_time#@73",    EgTime,              Form::Number, 1,                           1,     -1e6f,  1e6f,    kV2},
  {"eg#_time#@72",    EgTime,              Form::Number, 2,                           1,     -1e6f,  1e6f,    kV2},
  {"eg#_time#@69",    EgTime,              Form::Number, 3,                           1,     0,      1000,    kV2},
  {"eg#_time#@131",   EgTime,              Form::Number, 4,                           1,     -1e6f,  1e6f,    kV2},
  {"eg#_time#@133",   EgTime,              Form::Number, 5,                           1,     -1e6f,  1e6f,    kV2},
  {"eg#_pitch",       EgPitch,             Form::Number, 0,                            .01,  -12000, 12000,  kV2},
  {"eg#_pitch@131",   EgPitch,             Form::Number, 1,                            .01,  -24000, 24000,  kV2},
  {"eg#_cutoff",      EgCutoff,            Form::Number, 0,                            .01,  -12800, 12800,  kV2},
  {"eg#_cutoff@131",  EgCutoff,            Form::Number, 1,                            .01,  -25600, 25600,  kV2},
  {"eg#_pan",         EgPan,               Form::Number, 0,                            .01,  -100,   100,    kV2},
  {"eg#_ampeg",       EgAmplitude,         Form::Number, 0,                            .01,  0,      100,    kV2},
  {"eg#_amplitude",   EgAmplitude,         Form::Number, 0,                            .01,  0,      100,    kReadOnly},
  {"default_path",    DefaultPath,         Form::Text},
  {"note_offset",     NoteOffset,          Form::Whole,  0,                           1,     -127,   127,    kReadOnly},
  {"octave_offset",   OctaveOffset,        Form::Whole,  0,                           1,     -10,    10,     kReadOnly},
  {"set@",            ControllerAtRest,    Form::Whole,  0,                           1,     0,      127},
  {"set_hd@",         FineControllerAtRest, Form::Number, 0,                          1,     0,      1,      kReadOnly},
};

// What follows "ampeg_", "pitcheg_" and "fileg_"; rows with a slot of their own for each envelope.
struct EnvelopeSuffix {
  std::string_view name;
  Field field;
  Stage stage;
  double factor;
  float minimum, maximum;
  bool onlyVolume;
};
constexpr EnvelopeSuffix kEnvelopeSuffixes[] = {
  {"delay",       Direct,   Stage::Attack1Time,         1,    0,    1000,  false},
  {"start",       EnvelopeStart, Stage::InitialLevel,         .01, 0,    100,  false},
  {"attack",      Direct,   Stage::Attack2Time,         1,    0,    1000,  false},
  {"hold",        Direct,   Stage::Decay1Time,          1,    0,    1000,  false},
  {"decay",       Direct,   Stage::Decay2Time,          1,    0,    1000,  false},
  {"sustain",     Direct,   Stage::Sustain,              .01, 0,    100,  false},
  {"release",     Direct,   Stage::Release1Rate,        1,    0,    1000,  false},
  {"delay@73",    Amount,        Stage::Cc73ToAttack1,       1,    -1e6f, 1e6f,  false},
  {"attack@73",   Amount,        Stage::Cc73ToAttack2,       1,    -1e6f, 1e6f,  false},
  {"release@72",  Amount,        Stage::Cc72ToRelease1,      1,    -1e6f, 1e6f,  false},
  {"decay_zero",  Amount,        Stage::Decay1Level,         1,    0,    1,  false},
  {"release_zero", Amount,       Stage::Release1Level,       1,    0,    1,  false},
  {"release@69",  Direct,   Stage::HoldPedalToRelease1, 1,    0,    1000,  true},
  {"vel2delay",   Amount,        Stage::VelocityToAttack1,   1,    -1e6f, 1e6f,  false},
  {"vel2attack",  Amount,        Stage::VelocityToAttack2,   1,    -1e6f, 1e6f,  false},
  {"vel2hold",    Amount,        Stage::VelocityToDecay1,    1,    -1e6f, 1e6f,  false},
  {"vel2decay",   Amount,        Stage::VelocityToDecay2,    1,    -1e6f, 1e6f,  false},
  {"vel2release", Amount,        Stage::VelocityToRelease1,  1,    -1e6f, 1e6f,  false},
  {"delay@133",   Amount,        Stage::KeyToAttack1,        1,    -1e6f, 1e6f,  false},
  {"attack@133",  Amount,        Stage::KeyToAttack2,        1,    -1e6f, 1e6f,  false},
  {"hold@133",    Amount,        Stage::KeyToDecay1,         1,    -1e6f, 1e6f,  false},
  {"decay@133",   Amount,        Stage::KeyToDecay2,         1,    -1e6f, 1e6f,  false},
  {"release@133", Amount,        Stage::KeyToRelease1,       1,    -1e6f, 1e6f,  false},
};
struct EnvelopePrefix {
  std::string_view name;
  Slot envelope;
  Slot depth, velocityToDepth;  // 0: it has none
};
constexpr EnvelopePrefix kEnvelopePrefixes[] = {
  {"ampeg_",   slots::VEnv, 0,                  0},
  {"pitcheg_", slots::PEnv, slots::PEnvToPitch, slots::VelocityToPEnvToPitch},
  {"fileg_",   slots::FEnv, slots::FEnvToCutoff, slots::FEnvToCutoff + 1},
};

// The same for the LFOs: depth slots follow each other, and so do frequency, delay and fade.
struct LfoPrefix {
  std::string_view name;
  Slot depth, frequency;
  double factor;
  float maximum;
};
constexpr LfoPrefix kLfoPrefixes[] = {
  {"amplfo_",   slots::VLfoToVolume, slots::VLfoShape + 1, 1,    144},
  {"pitchlfo_", slots::PLfoToPitch,  slots::PLfoShape + 1,  .01, 12000},
  {"fillfo_",   slots::FLfoToCutoff, slots::FLfoShape + 1,  .01, 12800},
};

constexpr std::pair<std::string_view, std::string_view> kAliases[] = {
  {"loopmode", "loop_mode"},   {"loopstart", "loop_start"},        {"loopend", "loop_end"},
  {"looptype", "loop_type"},   {"loop_tune01", "loop_tune"},       {"loop_start01", "loop_start"},
  {"loop_end01", "loop_end"},  {"offby", "off_by"},                {"offmode", "off_mode"},
  {"polyphony_group", "group"},{"filtype", "fil_type"},            {"benddown", "bend_down"},
  {"bendup", "bend_up"},       {"pitch", "tune"},                  {"tune_random", "pitch_random"},
  {"pitch@135", "tune@135"},   {"pitch@136", "tune@136"},          {"gain_random", "amp_random"},
  {"gain", "volume"},          {"gain@1", "volume@1"},             {"gain@129", "volume@129"}, {"gain@135", "volume@135"}, {"gain@136", "volume@136"},
  {"cutoff@131", "fil_veltrack"}, {"xf_cckeycurve", "xf_keycurve"},
  {"filter_cutoff", "cutoff"}, {"filter_resonance", "resonance"},  {"tune_keytrack", "pitch_keytrack"},
  {"gain_keytrack", "amp_keytrack"}, {"gain_veltrack", "amp_veltrack"}, {"gain_keycenter", "amp_keycenter"},
  {"volume_keytrack", "amp_keytrack"}, {"volume_veltrack", "amp_veltrack"}, {"volume_keycenter", "amp_keycenter"},
  {"volume_random", "amp_random"}, {"tune_keycenter", "pitch_keycenter"},
};
// clang-format on

struct Words {
  Field field;
  std::vector<std::string_view> words;
};
const std::vector<Words>& allWords() {
  static const std::vector<Words> all = {
      {OffMode, {"fast", "normal"}},
      {TriggerKind, {"attack", "release", "first", "legato", "release_key"}},
      {KeyCurve, {"power", "gain"}},
      {VelocityCurve, {"power", "gain"}},
      {ControllerCurve, {"power", "gain"}},
      {LoopMode, {"no_loop", "one_shot", "loop_continuous", "loop_sustain"}},
      {LoopType, {"forward", "backward", "alternate"}},
      // By the numbers of vemko::FilterType.
      {FilterShape,
       {"", "lpf_1p", "lpf_2p", "", "lpf_4p", "hpf_1p", "hpf_2p", "hpf_4p", "bpf_1p", "lpf_6p", "lpf_2p_sv",
        "bpf_2p", "brf_2p", "hpf_6p", "bpf_4p", "brf_1p"}},
      {EqType, {"peak", "lshelf", "hshelf"}},
  };
  return all;
}

// Key tracking of times came with the second version.
Dialects dialectsOf(std::string_view envelopeSuffix) {
  if (envelopeSuffix.ends_with("_zero")) return kReadOnly;
  return envelopeSuffix.ends_with("@133") ? kV2 : kBoth;
}

struct Vocabulary {
  std::vector<OpcodeRow> rows;
  std::deque<std::string> names;  // of the generated rows
  std::unordered_map<std::string_view, std::uint16_t> byName;

  Vocabulary() : rows(std::begin(kRows), std::end(kRows)) {
    for (const EnvelopePrefix& prefix : kEnvelopePrefixes) addEnvelope(prefix);
    for (const LfoPrefix& prefix : kLfoPrefixes) addLfo(prefix);
    for (std::size_t i = 0; i < rows.size(); ++i) byName.emplace(rows[i].name, static_cast<std::uint16_t>(i));
    for (const auto& [alias, name] : kAliases)
      if (const auto at = byName.find(name); at != byName.end()) byName.emplace(alias, at->second);
  }

  void add(std::string_view prefix, std::string_view suffix, OpcodeRow row) {
    row.name = names.emplace_back(std::string(prefix).append(suffix));
    rows.push_back(row);
  }

  void addEnvelope(const EnvelopePrefix& prefix) {
    for (const EnvelopeSuffix& suffix : kEnvelopeSuffixes) {
      if (suffix.onlyVolume && prefix.envelope != slots::VEnv) continue;
      add(prefix.name, suffix.name,
          {.field = suffix.field,
           .slot =
               suffix.field == EnvelopeStart ? prefix.envelope : envelopeSlot(prefix.envelope, suffix.stage),
           .factor = suffix.factor,
           .minimum = suffix.minimum,
           .maximum = suffix.maximum,
           .dialects = dialectsOf(suffix.name)});
    }
    if (prefix.depth == 0) return;
    add(prefix.name, "depth", {.slot = prefix.depth, .factor = .01, .minimum = -12800, .maximum = 12800});
    add(prefix.name, "vel2depth",
        {.field = Amount, .slot = prefix.velocityToDepth, .minimum = -25600, .maximum = 25600});
  }

  void addLfo(const LfoPrefix& prefix) {
    const auto slotAfter = [](Slot first, int count) { return static_cast<Slot>(first + count); };
    const OpcodeRow depth{.factor = prefix.factor, .minimum = -prefix.maximum, .maximum = prefix.maximum};
    constexpr std::string_view kDepths[] = {"depth", "depth@1", "depth@129"};
    for (int i = 0; i < 3; ++i) {
      OpcodeRow row = depth;
      row.slot = slotAfter(prefix.depth, i);
      add(prefix.name, kDepths[i], row);
    }
    add(prefix.name, "depth@131",
        {.field = Amount,
         .slot = slotAfter(prefix.depth, 3),
         .minimum = -2 * prefix.maximum,
         .maximum = 2 * prefix.maximum});
    add(prefix.name, "freq", {.slot = prefix.frequency, .maximum = 1000});
    add(prefix.name, "delay", {.slot = slotAfter(prefix.frequency, 1), .maximum = 100});
    add(prefix.name, "fade", {.slot = slotAfter(prefix.frequency, 2), .maximum = 100});
  }
};

const Vocabulary& vocabulary() {
  static const Vocabulary all;
  return all;
}

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The number at `at`, whose digits are removed from the text. False when it is beyond 255.
bool takeNumber(std::string& text, std::size_t at, std::uint8_t& number) {
  std::size_t end = at;
  while (end < text.size() && isDigit(text[end])) ++end;
  const auto result = std::from_chars(text.data() + at, text.data() + end, number);
  text.erase(at, end - at);
  return result.ec == std::errc();
}

// "cutoff_oncc74" -> "cutoff@", 74.
bool takeController(std::string& text, CanonicalName& name) {
  struct Suffix {
    std::string_view text;
    std::uint8_t controller;
  };
  constexpr Suffix kSuffixes[] = {{"chanaft", 129}, {"polyaft", 130}};
  std::size_t base = text.npos;
  for (const Suffix& suffix : kSuffixes)
    if (text.size() > suffix.text.size() && text.ends_with(suffix.text)) {
      base = text.size() - suffix.text.size();
      name.controller = suffix.controller;
    }
  if (base == text.npos) {
    std::size_t digits = text.size();
    while (digits > 0 && isDigit(text[digits - 1])) --digits;
    if (digits == text.size() || digits < 3 || text.compare(digits - 2, 2, "cc") != 0) return true;
    if (!takeNumber(text, digits, name.controller)) return false;
    base = digits - 2;
  }
  text.resize(base);
  if (text.ends_with("_on"))
    text.resize(text.size() - 3);
  else if (text.ends_with('_'))
    text.pop_back();
  text += '@';
  return true;
}

// "eg01_time3@" -> "eg#_time#@", 1, 3.
bool takeBand(std::string& text, CanonicalName& name) {
  for (std::string_view prefix : {"lfo", "eg", "eq"}) {
    if (!text.starts_with(prefix) || text.size() <= prefix.size() || !isDigit(text[prefix.size()])) continue;
    if (!takeNumber(text, prefix.size(), name.band)) return false;
    text.insert(prefix.size(), 1, '#');
    for (std::string_view point : {"#_level", "#_time"}) {
      const std::size_t at = prefix.size() + point.size();
      if (text.size() <= at || !isDigit(text[at]) || text.compare(prefix.size(), point.size(), point) != 0)
        continue;
      if (!takeNumber(text, at, name.point)) return false;
      text.insert(at, 1, '#');
    }
    break;
  }
  return true;
}

std::optional<int> parseWhole(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

std::optional<double> parseNumber(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  double number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || !std::isfinite(number)) return std::nullopt;
  return number;
}

// "cutoff@" 6 as what that controller adds to the cutoff, "cutoff_curve@" 6 as how. Sources above the
// controllers come with each note or wheel, and have no place at rest.
std::optional<OpcodeKey> findFolded(const CanonicalName& name) {
  constexpr std::uint8_t kLastController = 127;
  constexpr std::string_view kCurve = "_curve";
  std::string_view base(name.text);
  base.remove_suffix(1);
  const bool isCurve = base.ends_with(kCurve);
  if (isCurve) base.remove_suffix(kCurve.size());
  const auto found = vocabulary().byName.find(base);
  if (found == vocabulary().byName.end() || name.controller == 0 || name.controller > kLastController)
    return std::nullopt;
  if (!canFold(vocabulary().rows[found->second])) return std::nullopt;
  return OpcodeKey{found->second, name.band, static_cast<std::uint8_t>(isCurve), name.controller};
}

}  // namespace

bool canFold(const OpcodeRow& row) {
  const bool isSlot = row.field == Direct && row.form == Form::Number && row.name.find('@') == row.name.npos;
  return isSlot || row.field == Volume || row.field == Amplitude || row.field == Tune || row.field == Cutoff;
}

std::span<const OpcodeRow> opcodeRows() { return vocabulary().rows; }

std::optional<CanonicalName> canonicalName(std::string_view name) {
  CanonicalName result;
  result.text = name;
  for (char& c : result.text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  if (!takeController(result.text, result) || !takeBand(result.text, result)) return std::nullopt;
  return result;
}

std::string spelledName(std::string_view canonical, bool version2) {
  const std::size_t at = canonical.find('@');
  if (at == canonical.npos) return std::string(canonical);
  std::string base(canonical.substr(0, at));
  const std::string_view controller = canonical.substr(at + 1);
  const bool isFamily = base.find("eg_") != base.npos || base.find("lfo_") != base.npos;
  if (controller == "129" && (isFamily || base == "cutoff"))
    return base + (isFamily ? "chanaft" : "_chanaft");
  if (!version2 && base == "volume") base = "gain";
  return base.append(isFamily ? "cc" : version2 ? "_oncc" : "_cc").append(controller);
}

std::optional<OpcodeKey> findOpcode(std::string_view name) {
  auto canonical = canonicalName(name);
  if (!canonical) return std::nullopt;
  const auto& byName = vocabulary().byName;
  const bool hasController = canonical->text.ends_with('@');
  auto found =
      byName.find(hasController ? canonical->text + std::to_string(canonical->controller) : canonical->text);
  if (found != byName.end()) return OpcodeKey{found->second, canonical->band, canonical->point, 0};
  if (!hasController) return std::nullopt;
  found = byName.find(canonical->text);
  if (found == byName.end()) return findFolded(*canonical);
  return OpcodeKey{found->second, canonical->band, canonical->point, canonical->controller};
}

const OpcodeRow& rowNamed(std::string_view canonical) {
  return vocabulary().rows[vocabulary().byName.at(canonical)];
}

std::span<const std::string_view> wordsOf(Field field) {
  for (const Words& each : allWords())
    if (each.field == field) return each.words;
  return {};
}

std::optional<int> keyNumber(std::string_view text) {
  constexpr int kSemitones[] = {9, 11, 0, 2, 4, 5, 7};  // a to g
  if (text.empty()) return std::nullopt;
  const char letter = static_cast<char>(text[0] | 0x20);
  if (letter < 'a' || letter > 'g') return std::nullopt;
  int key = kSemitones[letter - 'a'];
  text.remove_prefix(1);
  for (auto [sign, semitones] :
       {std::pair<std::string_view, int>{"#", 1}, {"\u266F", 1}, {"b", -1}, {"\u266D", -1}})
    if (text.starts_with(sign)) {
      key += semitones;
      text.remove_prefix(sign.size());
      break;
    }
  const auto octave = parseWhole(text);
  if (!octave || *octave < -1 || *octave > 10) return std::nullopt;
  return (*octave + 1) * 12 + key;
}

std::optional<double> parseValue(const OpcodeRow& row, std::string_view text) {
  std::optional<double> number;
  if (row.form == Form::Word) {
    const auto words = wordsOf(row.field);
    const auto found = text.empty() ? words.end() : std::ranges::find(words, text);
    return found == words.end() ? std::nullopt : std::optional<double>(found - words.begin());
  }
  if (row.form == Form::Key || row.form == Form::Hertz)
    if (const auto key = keyNumber(text))
      number = row.form == Form::Hertz ? 440 * std::exp2((*key - 69) / 12.0) : *key;
  if (!number) number = parseNumber(text);
  if (!number) return std::nullopt;
  if (row.form == Form::Whole || row.form == Form::Key) number = std::trunc(*number);
  return number;
}

}  // namespace vemko::sfz
