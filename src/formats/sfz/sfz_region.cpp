#include "formats/sfz/sfz_region.h"

#include <algorithm>
#include <cmath>

#include "base/log.h"
#include "base/text.h"
#include "core/parameters.h"

namespace vemko::sfz {
namespace {

constexpr double kMiddleC = 60;
enum LoopModeWord { kNoLoop, kOneShot, kLoopContinuous, kLoopSustain };

std::uint8_t midi(double value) { return static_cast<std::uint8_t>(std::clamp(value, 0.0, 127.0)); }

void putBound(std::vector<ControllerRange>& ranges, const ControllerRange& whole, bool isLow, double value) {
  auto at = std::ranges::find(ranges, whole.controller, &ControllerRange::controller);
  if (at == ranges.end()) at = ranges.insert(at, whole);
  (isLow ? at->low : at->high) = midi(value);
}

Instrument& createFor(Collection& collection, const Path& file) {
  return createInstrument(collection, textOf(file.stem()));
}

// The number of the curve that the controller of a folded setting goes by.
double curveOf(const Setting& setting, std::span<const Setting> settings) {
  OpcodeKey key = setting.key;
  key.point = 1;
  const auto at = std::ranges::lower_bound(settings, key, {}, &Setting::key);
  return at != settings.end() && at->key == key ? at->number : 0;
}

}  // namespace

std::optional<double> curveAt(double curve, double place) {
  const double values[] = {place,         2 * place - 1,    1 - place,           1 - 2 * place,
                           place * place, std::sqrt(place), std::sqrt(1 - place)};
  if (!(curve >= 0 && curve < std::size(values))) return std::nullopt;
  return values[static_cast<std::size_t>(curve)];
}

RegionBuilder::RegionBuilder(Collection& collection, const Path& file)
    : instrument_(createFor(collection, file)), samples_(collection, file.parent_path()) {
  for (std::size_t i = 0; i < atRest_.size(); ++i) atRest_[i] = usualAtRest(static_cast<std::uint8_t>(i));
}

void RegionBuilder::setAtRest(std::uint8_t controller, double value) { atRest_[controller] = midi(value); }

std::uint32_t RegionBuilder::labelNumber(std::string_view label) {
  if (labels_.empty() || labels_.back() != label) labels_.emplace_back(label);
  return static_cast<std::uint32_t>(labels_.size() - 1);
}

void RegionBuilder::endLayer(std::string_view nextName) {
  layer_ = nullptr;
  layerName_ = nextName;
}

void RegionBuilder::collectNumber(const OpcodeRow& row, const Setting& setting) {
  const double number = setting.number;
  const auto within = [&](std::uint8_t low, std::uint8_t high) {
    return ControllerRange{setting.key.controller, low, high, atRest_[setting.key.controller]};
  };
  switch (row.field) {
    case Field::Direct:
      opcodes_.amounts[row.slot] = number * row.factor;
      opcodes_.slots[row.slot] = static_cast<float>(opcodes_.amounts[row.slot]);
      opcodes_.givenSlots.set(row.slot);
      return;
    case Field::Amount:
    case Field::EnvelopeStart:
      opcodes_.amounts[row.slot] = number;
      opcodes_.givenSlots.set(row.slot);
      return;
    case Field::OuterVolume:
      opcodes_.fields[static_cast<std::size_t>(row.field)] += number;
      opcodes_.given.set(static_cast<std::size_t>(row.field));
      return;
    case Field::Effect:
      opcodes_.sends[row.slot] = number;
      return;
    case Field::EffectController:
      opcodes_.sendControllers[row.slot] = number;
      opcodes_.givenSendControllers.set(row.slot);
      return;
    case Field::ControllerLow:
    case Field::ControllerHigh:
      return putBound(rules_.controllers, within(0, 127), row.field == Field::ControllerLow, number);
    case Field::StartLow:
    case Field::StartHigh:
      return putBound(rules_.starts, {.controller = setting.key.controller}, row.field == Field::StartLow,
                      number);
    case Field::FadeInLowController:
    case Field::FadeInHighController:
      return putBound(rules_.fadeIns, within(0, 0), row.field == Field::FadeInLowController, number);
    case Field::FadeOutLowController:
    case Field::FadeOutHighController:
      return putBound(rules_.fadeOuts, within(127, 127), row.field == Field::FadeOutLowController, number);
    case Field::Sample:
      sample_ = static_cast<std::uint32_t>(number);
      return;
    default:
      opcodes_.fields[static_cast<std::size_t>(row.field)] = number;
      opcodes_.given.set(static_cast<std::size_t>(row.field));
  }
}

// Nobody has moved the controller when the first note sounds; and in other formats nobody can.
void RegionBuilder::fold(const Setting& setting, double curve) {
  const auto added = curveAt(curve, atRest_[setting.key.controller] / 127.0);
  if (!added) return;
  const OpcodeRow& row = rowOf(setting.key);
  const double amount = setting.number * *added;
  const auto put = [&](double number) {
    collectNumber(row, {{.row = setting.key.row}, std::clamp<double>(number, row.minimum, row.maximum)});
  };
  switch (row.field) {
    case Field::Amplitude:
      return put(opcodes_.get(row.field, 100) * amount / 100);
    case Field::Cutoff:
      if (opcodes_.has(row.field)) put(opcodes_.get(row.field, 0) * std::exp2(amount / 1200));
      return;
    case Field::Direct: {
      // An LFO without a frequency stands still.
      const double otherwise = row.name.ends_with("_freq") ? 0 : initialValues()[row.slot];
      const double number = opcodes_.givenSlots[row.slot] ? opcodes_.amounts[row.slot] : otherwise;
      if (amount != 0) put(number / row.factor + amount);
      return;
    }
    default:
      if (amount != 0) put(opcodes_.get(row.field, 0) + amount);
  }
}

void RegionBuilder::collect(std::span<const Setting> settings) {
  opcodes_ = {};
  rules_ = {};
  sample_ = kNoSample;
  for (const Setting& each : settings) {
    const OpcodeRow& row = rowOf(each.key);
    if (isFolded(each.key)) {
      if (!isCurveOf(each.key)) fold(each, curveOf(each, settings));
    } else if (isNumbered(row.field))
      opcodes_.numbered.push_back({each.key, each.number});
    else
      collectNumber(row, each);
  }
}

// Empty where none is given.
std::u16string RegionBuilder::label(Field field) const {
  if (!opcodes_.has(field)) return {};
  return toUtf16(labels_[static_cast<std::size_t>(opcodes_.get(field, 0))]);
}

Waveform* RegionBuilder::findWaveform() {
  // A region whose end is -1 plays nothing; it is there to stop others.
  if (sample_ == kNoSample || opcodes_.get(Field::End, 0) < 0) return nullptr;
  LoopRequest loop;
  if (opcodes_.has(Field::LoopMode)) {
    const int mode = static_cast<int>(opcodes_.get(Field::LoopMode, 0));
    loop.loops = mode >= kLoopContinuous;
    if (mode >= kLoopContinuous)
      loop.count = mode == kLoopSustain ? LoopCount::UntilRelease : LoopCount::Infinite;
    rules_.playsToEnd = mode == kOneShot;
  }
  if (opcodes_.has(Field::LoopType))
    loop.play = static_cast<LoopPlay>(1 + static_cast<int>(opcodes_.get(Field::LoopType, 0)));
  if (opcodes_.has(Field::LoopStart)) loop.startFrame = opcodes_.get(Field::LoopStart, 0);
  if (opcodes_.has(Field::LoopEnd)) loop.lastFrame = opcodes_.get(Field::LoopEnd, 0);
  if (opcodes_.has(Field::LoopTune)) loop.tuneCents = opcodes_.get(Field::LoopTune, 0);
  return samples_.find(sample_, loop);
}

Region& RegionBuilder::createRegionFor(const Waveform* waveform) {
  if (!layer_)
    layer_ = &createLayer(instrument_, layerName_.empty() ? label(Field::GroupLabel) : toUtf16(layerName_));
  RegionRequest request;
  if (waveform) request.waveform = serialOf(waveform->id());
  // A key of -1 switches the keys off, for regions that a controller starts.
  const double low = opcodes_.get(Field::LowKey, 0), high = opcodes_.get(Field::HighKey, 127);
  rules_.ignoresKeys = low < 0 || high < 0;
  if (!rules_.ignoresKeys && (opcodes_.has(Field::LowKey) || opcodes_.has(Field::HighKey)))
    request.keys = {midi(low), midi(high)};
  if (opcodes_.has(Field::LowVelocity) || opcodes_.has(Field::HighVelocity))
    request.velocities = {midi(opcodes_.get(Field::LowVelocity, 0)),
                          midi(opcodes_.get(Field::HighVelocity, 127))};
  const double center = opcodes_.get(Field::KeyCenter, kMiddleC);
  if (center >= 0) request.rootKey = midi(center);
  std::u16string name = label(Field::Label);
  if (name.empty() && waveform) name = waveform->name();
  return createRegion(*layer_, name, request);
}

void RegionBuilder::setSection(Region& region, Waveform* waveform) {
  const double rate = waveform ? waveform->rate : 44100;
  region.delaySeconds = static_cast<float>(opcodes_.get(Field::Delay, 0) +
                                           opcodes_.get(Field::DelaySamples, 0) / std::max(rate, 1.0));
  if (!waveform) return;
  const double frames = waveform->frames, offset = std::min(opcodes_.get(Field::Offset, 0), frames);
  const bool hasEnd = opcodes_.has(Field::End) && opcodes_.get(Field::End, 0) + 1 < frames;
  const double end = hasEnd ? opcodes_.get(Field::End, 0) + 1 : 0;
  if (opcodes_.get(Field::Offset, 0) > frames || (hasEnd && end < offset))
    logWarning(u"A region begins behind the end of its sample: " + region.displayName());
  region.section = {static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(end)};
  // Players do not look at a file's markers.
  if (region.section == PlaySection{} && playSection(*waveform) != PlaySection{0, waveform->frames})
    region.section = {0, waveform->frames};
  if (opcodes_.has(Field::AltOffset))
    samples_.addAltStart(
        *waveform, static_cast<std::uint32_t>(std::min(offset + opcodes_.get(Field::AltOffset, 0), frames)));
}

void RegionBuilder::setFades(Region& region) const {
  auto range = [&](Field low, Field high, MidiRange otherwise) {
    return MidiRange{midi(opcodes_.get(low, otherwise.low)), midi(opcodes_.get(high, otherwise.high))};
  };
  region.fadeInKeys = range(Field::FadeInLowKey, Field::FadeInHighKey, region.fadeInKeys);
  region.fadeOutKeys = range(Field::FadeOutLowKey, Field::FadeOutHighKey, region.fadeOutKeys);
  region.fadeInVelocities =
      range(Field::FadeInLowVelocity, Field::FadeInHighVelocity, region.fadeInVelocities);
  region.fadeOutVelocities =
      range(Field::FadeOutLowVelocity, Field::FadeOutHighVelocity, region.fadeOutVelocities);
}

void RegionBuilder::setSwitches() {
  auto key = [&](Field field, std::uint8_t otherwise = KeySwitches::kNone) {
    return opcodes_.get(field, otherwise) < 0 ? KeySwitches::kNone
                                              : static_cast<std::uint8_t>(opcodes_.get(field, otherwise));
  };
  KeySwitches& switches = rules_.switches;
  const std::uint8_t low = key(Field::SwitchLowLast, key(Field::SwitchHighLast));
  switches = {.range = {key(Field::SwitchLowKey, 0), key(Field::SwitchHighKey, 127)},
              .last = {low, std::max(low, key(Field::SwitchHighLast, low))},
              .atStart = key(Field::SwitchAtStart),
              .down = key(Field::SwitchDown),
              .up = key(Field::SwitchUp),
              .previous = key(Field::SwitchPrevious)};
  if (!switches.waitsForLast()) switches.last = {KeySwitches::kNone, KeySwitches::kNone};
  if (!switches.waitsForLast()) switches.atStart = KeySwitches::kNone;
  if (!switches.hasConditions()) switches = {};
}

void RegionBuilder::setRules(Region& region) {
  auto whole = [&](Field field, double otherwise) {
    return static_cast<std::uint32_t>(opcodes_.get(field, otherwise));
  };
  // Drum kits give the groups that only stop others numbers below 0: as large numbers they stay apart.
  auto groupNumber = [&](Field field) {
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(opcodes_.get(field, 0)));
  };
  constexpr double kReleaseKey = 4;
  const double trigger = opcodes_.get(Field::TriggerKind, 0);
  region.trigger =
      trigger == kReleaseKey ? Trigger::Release : static_cast<Trigger>(static_cast<int>(trigger));
  rules_.sequenceLength = static_cast<std::uint16_t>(whole(Field::SequenceLength, 1));
  rules_.sequencePosition = static_cast<std::uint16_t>(whole(Field::SequencePosition, 1));
  rules_.randomLow = static_cast<float>(opcodes_.get(Field::LowRandom, 0));
  rules_.randomHigh = static_cast<float>(opcodes_.get(Field::HighRandom, 1));
  rules_.group = groupNumber(Field::GroupNumber);
  rules_.stoppedBy = groupNumber(Field::OffBy);
  if (rules_.group == rules_.stoppedBy && rules_.group <= 255) {
    region.exclusiveGroup = static_cast<std::uint8_t>(rules_.group);
    rules_.group = rules_.stoppedBy = 0;
  }
  rules_.stopsNaturally = whole(Field::OffMode, 0) == 1;
  rules_.keyFade = static_cast<FadeCurve>(whole(Field::KeyCurve, 0));
  rules_.velocityFade = static_cast<FadeCurve>(whole(Field::VelocityCurve, 0));
  rules_.controllerFade = static_cast<FadeCurve>(whole(Field::ControllerCurve, 0));
  std::erase_if(rules_.controllers,
                [](const ControllerRange& range) { return range.low == 0 && range.high == 127; });
  std::erase_if(rules_.fadeIns, [](const ControllerRange& fade) { return fade.high == 0; });
  std::erase_if(rules_.fadeOuts, [](const ControllerRange& fade) { return fade.low == 127; });
  for (auto* ranges : {&rules_.controllers, &rules_.starts, &rules_.fadeIns, &rules_.fadeOuts})
    std::ranges::sort(*ranges);
  setSwitches();
  if (rules_ == PlayRules{}) return;
  if (!lastRules_ || *lastRules_ != rules_) lastRules_ = std::make_shared<const PlayRules>(rules_);
  region.rules = lastRules_;
}

// By the published format the first effect is a reverb, the second a chorus.
void RegionBuilder::claimSends() {
  if (opcodes_.sends[0] != 0) claimSend(instrument_.sendEffects, SendEffect::Reverb);
  if (opcodes_.sends[1] != 0) claimSend(instrument_.sendEffects, SendEffect::Chorus);
}

// The slot's wheel bends both ways alike.
void RegionBuilder::tellUnevenBend() {
  constexpr double kUsualCents = 200, kLeastHeard = 0.01;
  const double up =
      opcodes_.givenSlots[slots::BendToPitch] ? opcodes_.amounts[slots::BendToPitch] * 100 : kUsualCents;
  if (std::abs(up + opcodes_.get(Field::BendDown, -kUsualCents)) > kLeastHeard)
    complaints_.add(u"A region that bends down by another interval than up bends as far as up");
}

void RegionBuilder::add(std::span<const Setting> settings) {
  collect(settings);
  Waveform* waveform = findWaveform();
  Region& region = createRegionFor(waveform);
  setSection(region, waveform);
  setFades(region);
  setRules(region);
  claimSends();
  tellUnevenBend();
  RegionFacts facts{.keys = region.keys};
  if (waveform) {
    // A root key of the definition file's own goes without the sample file's tuning.
    if (region.rootKey != Region::kNotSet) facts.tuneCents = waveform->fineTuneCents;
    facts.volumeDb = waveform->volumeAdjustmentDb;
  }
  region.articulation = articulationOf(opcodes_, facts, effectChannels(instrument_.sendEffects));
}

}  // namespace vemko::sfz
