#pragma once
// The fields of each kind of item on the clipboard, listed once for both directions.
#include <memory>
#include <utility>
#include <vector>

#include "app/document/clipboard_archive.h"
#include "core/collection.h"
#include "core/play_rules.h"

namespace vemko::app {

template <class Archive>
void archive(Archive& a, MidiRange& range) {
  a(range.low);
  a(range.high);
}

template <class Archive>
void archive(Archive& a, ArticulationBlock& block) {
  auto count = static_cast<std::uint16_t>(block.count());
  a(count);
  if constexpr (Archive::kReads) {
    for (int i = 0; i < count && a.in.ok; ++i) {
      const Slot slot = a.in.u8();
      const auto value = a.in.template little<float>();
      if (slot >= kSlotCount) a.in.ok = false;
      if (a.in.ok) block.set(slot, value);
    }
  } else {
    block.forEach([&](Slot slot, float value) {
      a(slot);
      a(value);
    });
  }
}

template <class Archive>
void archive(Archive& a, LoopRecord& record) {
  archiveEnum(a, record.type, RecordType::Loop);
  archiveEnum(a, record.play, LoopPlay::Alternating);
  archiveEnum(a, record.count, LoopCount::UntilRelease);
  a(record.startHundredths);
  a(record.endHundredths);
  a(record.tuneCents);
  a(record.start);
  a(record.end);
  a(record.id);
  a(record.name);
}

template <class Archive>
void archive(Archive& a, std::vector<LoopRecord>& records) {
  auto count = static_cast<std::uint32_t>(records.size());
  a(count);
  if constexpr (Archive::kReads) {
    for (std::uint32_t i = 0; i < count && a.in.ok; ++i) archive(a, records.emplace_back());
  } else {
    for (LoopRecord& record : records) archive(a, record);
  }
}

// All but the samples.
template <class Archive>
void archive(Archive& a, Waveform& waveform) {
  a(waveform.birth);
  a(waveform.frames);
  a(waveform.rate);
  a(waveform.codecParameter);
  a(waveform.channels);
  a(waveform.rootKey);
  a(waveform.fineTuneCents);
  a(waveform.volumeAdjustmentDb);
  a(waveform.mainLoopId);
  a(waveform.sourceFormat);
  a(waveform.pairedWith);
  archiveEnum(a, waveform.side, StereoSide::Right);
  archive(a, waveform.records);
}

template <class Archive>
void archive(Archive& a, std::vector<ControllerRange>& ranges) {
  auto count = static_cast<std::uint32_t>(ranges.size());
  a(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    if constexpr (Archive::kReads) {
      if (!a.in.ok) return;
      ranges.emplace_back();
    }
    a(ranges[i].controller);
    a(ranges[i].low);
    a(ranges[i].high);
    a(ranges[i].atRest);
  }
}

template <class Archive>
void archive(Archive& a, KeySwitches& switches) {
  archive(a, switches.range);
  archive(a, switches.last);
  for (std::uint8_t* key : {&switches.atStart, &switches.down, &switches.up, &switches.previous}) a(*key);
}

template <class Archive>
void archive(Archive& a, PlayRules& rules) {
  a(rules.sequenceLength);
  a(rules.sequencePosition);
  a(rules.randomLow);
  a(rules.randomHigh);
  a(rules.group);
  a(rules.stoppedBy);
  for (bool* flag : {&rules.stopsNaturally, &rules.playsToEnd, &rules.ignoresKeys}) a(*flag);
  for (FadeCurve* curve : {&rules.keyFade, &rules.velocityFade, &rules.controllerFade})
    archiveEnum(a, *curve, FadeCurve::Gain);
  for (auto* ranges : {&rules.controllers, &rules.starts, &rules.fadeIns, &rules.fadeOuts})
    archive(a, *ranges);
  archive(a, rules.switches);
}

// Most regions have none.
template <class Archive>
void archive(Archive& a, std::shared_ptr<const PlayRules>& rules) {
  bool has = rules != nullptr;
  a(has);
  if (!has) return;
  PlayRules copy = rules ? *rules : PlayRules{};
  archive(a, copy);
  rules = std::make_shared<const PlayRules>(std::move(copy));
}

template <class Archive>
void archive(Archive& a, Region& region) {
  for (MidiRange* range : {&region.keys, &region.velocities, &region.fadeInKeys, &region.fadeOutKeys,
                           &region.fadeInVelocities, &region.fadeOutVelocities})
    archive(a, *range);
  a(region.rootKey);
  a(region.exclusiveGroup);
  a(region.fixedKey);
  a(region.fixedVelocity);
  archiveEnum(a, region.trigger, Trigger::Legato);
  a(region.delaySeconds);
  a(region.section.start);
  a(region.section.end);
  a(region.setFields);
  a(region.waveformId);
  archive(a, region.rules);
  archive(a, region.articulation);
}

template <class Archive>
void archive(Archive& a, Instrument& instrument) {
  a(instrument.patch.word);
  for (SendEffect& effect : instrument.sendEffects) archiveEnum(a, effect, SendEffect::Reverb);
  archive(a, instrument.articulation);
}

template <class Archive>
void archive(Archive& a, Synth& synth) {
  a(synth.mode);
  a(synth.settings);
}

template <class Archive>
void archive(Archive& a, Track& track) {
  a(track.channel);
  std::vector<std::byte> events(track.events().begin(), track.events().end());
  a(events);
  if constexpr (Archive::kReads) track.setEvents(events);
}

template <class Archive>
void archiveTexts(Archive& a, Item& item) {
  for (TextProperty property : kTextProperties) {
    if (property == TextProperty::Image) continue;
    std::u16string text = item.text(property);
    a(text);
    if constexpr (Archive::kReads) item.setText(property, text);
  }
  std::vector<std::byte> image(item.image().begin(), item.image().end());
  a(image);
  if constexpr (Archive::kReads) item.setImage(image);
}

template <class Archive>
void archiveFields(Archive& a, Item& item) {
  archiveTexts(a, item);
  switch (item.kind()) {
    case ItemKind::Waveform:
      return archive(a, static_cast<Waveform&>(item));
    case ItemKind::Synth:
      return archive(a, static_cast<Synth&>(item));
    case ItemKind::Region:
      return archive(a, static_cast<Region&>(item));
    case ItemKind::Layer:
      return archive(a, static_cast<Layer&>(item).articulation);
    case ItemKind::Instrument:
      return archive(a, static_cast<Instrument&>(item));
    case ItemKind::Track:
      return archive(a, static_cast<Track&>(item));
    case ItemKind::Song:
      return a(static_cast<Song&>(item).settings);
    default:
      return;
  }
}

}  // namespace vemko::app
