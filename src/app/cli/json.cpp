#include "app/cli/json.h"

#include <charconv>
#include <nlohmann/json.hpp>

#include "app/cli/names.h"
#include "base/text.h"
#include "core/parameters.h"
#include "io/loss_report.h"
#include "tools/levels.h"

namespace vemko::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string dump(const Json& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

std::string line(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

// The shortest decimal that names the float: 0.1 and not 0.10000000149011612.
double shortest(float value) {
  char digits[32];
  auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  double result = 0;
  std::from_chars(digits, end, result);
  return result;
}

Json range(MidiRange bounds) { return {bounds.low, bounds.high}; }

Json articulation(const ArticulationBlock& block) {
  Json slots = Json::object();
  block.forEach([&](Slot slot, float value) { slots[std::to_string(slot)] = shortest(value); });
  return slots;
}

Json texts(const Item& item) {
  Json json = Json::object();
  for (TextProperty property : kTextProperties)
    if (property != TextProperty::Name && property != TextProperty::Image && !item.text(property).empty())
      json[toUtf8(textPropertyLabel(property))] = toUtf8(item.text(property));
  return json;
}

Json featureTexts(FeatureMask held) {
  Json texts = Json::array();
  for (int feature = 0; feature < features::Count; ++feature)
    if (held.has(feature) && !featureText(feature).empty()) texts.push_back(toUtf8(featureText(feature)));
  return texts;
}

Json named(const Item& item) { return {{"id", item.id()}, {"name", toUtf8(item.name())}}; }

Json controllerRanges(const std::vector<ControllerRange>& ranges) {
  Json list = Json::array();
  for (const ControllerRange& each : ranges)
    list.push_back(
        {{"controller", each.controller}, {"range", {each.low, each.high}}, {"atRest", each.atRest}});
  return list;
}

Json keySwitches(const KeySwitches& switches) {
  Json json = Json::object();
  const auto add = [&](const char* name, std::uint8_t key) {
    if (key != KeySwitches::kNone) json[name] = key;
  };
  if (switches.waitsForLast()) {
    json["range"] = range(switches.range);
    json["last"] = range(switches.last);
  }
  add("atStart", switches.atStart);
  add("down", switches.down);
  add("up", switches.up);
  add("previous", switches.previous);
  return json;
}

// When the region plays, as far as it is not simply with each note.
void addPlaying(const Region& item, Json& json) {
  const auto add = [&](const char* name, auto value, auto usual) {
    if (value != usual) json[name] = value;
  };
  constexpr const char* kTriggers[] = {"attack", "release", "first", "legato"};
  if (item.trigger != Trigger::Attack) json["trigger"] = kTriggers[static_cast<std::size_t>(item.trigger)];
  if (item.delaySeconds != 0) json["delay"] = shortest(item.delaySeconds);
  add("fixedKey", item.fixedKey, Region::kNotSet);
  add("fixedVelocity", item.fixedVelocity, Region::kNotSet);
  add("exclusiveGroup", item.exclusiveGroup, 0);
  if (item.section != PlaySection{}) json["section"] = {item.section.start, item.section.end};
  const std::pair<const char*, std::pair<MidiRange, std::uint8_t>> fades[] = {
      {"fadeInKey", {item.fadeInKeys, 0}},
      {"fadeOutKey", {item.fadeOutKeys, 127}},
      {"fadeInVelocity", {item.fadeInVelocities, 0}},
      {"fadeOutVelocity", {item.fadeOutVelocities, 127}}};
  for (const auto& [name, fade] : fades)
    if (fade.first != MidiRange{fade.second, fade.second}) json[name] = range(fade.first);
  if (!item.rules) return;
  const PlayRules& rules = *item.rules;
  if (rules.sequenceLength > 1) json["sequence"] = {rules.sequencePosition, rules.sequenceLength};
  if (rules.randomLow > 0 || rules.randomHigh < 1)
    json["random"] = {shortest(rules.randomLow), shortest(rules.randomHigh)};
  add("group", rules.group, 0u);
  add("stoppedBy", rules.stoppedBy, 0u);
  add("playsToEnd", rules.playsToEnd, false);
  add("ignoresKeys", rules.ignoresKeys, false);
  if (!rules.controllers.empty()) json["controllers"] = controllerRanges(rules.controllers);
  if (!rules.starts.empty()) json["startedBy"] = controllerRanges(rules.starts);
  if (!rules.fadeIns.empty()) json["fadeInByControllers"] = controllerRanges(rules.fadeIns);
  if (!rules.fadeOuts.empty()) json["fadeOutByControllers"] = controllerRanges(rules.fadeOuts);
  if (rules.switches.hasConditions()) json["keySwitches"] = keySwitches(rules.switches);
}

Json region(const Region& item) {
  Json json = named(item);
  json["key"] = range(item.keys);
  json["velocity"] = range(item.velocities);
  if (item.waveform()) json["waveform"] = item.waveformId;
  json["rootKey"] = effectiveRootKey(item);
  if (const float gain = effective(item).get(slots::MasterVolume); gain != 0) json["gain"] = shortest(gain);
  addPlaying(item, json);
  json["articulation"] = articulation(item.articulation);
  return json;
}

// The children of that type, each in its JSON form.
template <class T, class Convert>
Json childrenOf(const Item& parent, Convert convert) {
  Json list = Json::array();
  for (ItemId id : parent.children)
    if (const T* child = parent.collection().find<T>(id)) list.push_back(convert(*child));
  return list;
}

Json layer(const Layer& item) {
  Json json = named(item);
  json["articulation"] = articulation(item.articulation);
  json["regions"] = childrenOf<Region>(item, region);
  return json;
}

Json instrument(const Instrument& item) {
  Json json = named(item);
  json["patch"] = {{"program", item.patch.program()},
                   {"bankMSB", item.patch.bankMsb()},
                   {"bankLSB", item.patch.bankLsb()},
                   {"drums", item.patch.isDrumKit()}};
  json["articulation"] = articulation(item.articulation);
  json["layers"] = childrenOf<Layer>(item, layer);
  return json;
}

const char* recordTypeName(RecordType type) {
  switch (type) {
    case RecordType::PositionMarker:
      return "marker";
    case RecordType::SectionMarker:
      return "section";
    case RecordType::Loop:
      return "loop";
  }
  return "";
}

// Whole frames and hundredths, so that no rounding noise shows.
double position(std::uint32_t frame, std::uint8_t hundredths) {
  return static_cast<double>(std::uint64_t{frame} * 100 + hundredths) / 100;
}

Json record(const LoopRecord& loop, bool isMain) {
  Json json = {{"type", recordTypeName(loop.type)}, {"name", toUtf8(loop.name)}};
  json["start"] = position(loop.start, loop.startHundredths);
  if (loop.type == RecordType::PositionMarker) return json;
  json["end"] = position(loop.end, loop.endHundredths);
  if (loop.type == RecordType::SectionMarker) return json;
  json["play"] = toUtf8(displayWord(loop.play));
  json["count"] = toUtf8(displayWord(loop.count));
  json["tune"] = loop.tuneCents;
  json["main"] = isMain;
  return json;
}

Json waveform(const Waveform& item) {
  Json json = named(item);
  json["frames"] = item.frames;
  json["rate"] = item.rate;
  json["channels"] = item.channels;
  json["rootKey"] = item.rootKey;
  json["fineTune"] = item.fineTuneCents;
  if (item.volumeAdjustmentDb != 0) json["volume"] = shortest(item.volumeAdjustmentDb);
  json["records"] = Json::array();
  for (const LoopRecord& loop : item.records)
    json["records"].push_back(record(loop, loop.id == item.mainLoopId));
  json["text"] = texts(item);
  return json;
}

Json song(const Song& item) {
  Json json = named(item);
  json["tracks"] = childrenOf<Track>(item, [](const Track& track) {
    Json track_ = named(track);
    track_["events"] = track.eventCount();
    return track_;
  });
  return json;
}

template <class T, class Convert>
Json allOf(const Collection& collection, Convert convert) {
  Json list = Json::array();
  collection.forEach<T>([&](const T& item) { list.push_back(convert(item)); });
  return list;
}

Json words(const std::string& list) {
  Json json = Json::array();
  for (std::size_t at = 0; at < list.size();) {
    const std::size_t end = std::min(list.find(' ', at), list.size());
    json.push_back(list.substr(at, end - at));
    at = end + 1;
  }
  return json;
}

Json layouts(io::CapabilityMask capabilities) {
  Json json = Json::array();
  if (capabilities & io::kMono) json.push_back("mono");
  if (capabilities & (io::kStereo | io::kLinkedStereo)) json.push_back("stereo");
  return json;
}

Json toolOption(const tools::ToolOption& option) {
  Json json = {{"name", option.name}, {"label", toUtf8(option.label)}};
  if (option.choices.empty() && option.format == nullptr) {
    json["initial"] = option.initial != 0;
  } else if (option.choices.empty()) {
    json["initial"] = option.initial;
    json["minimum"] = option.minimum;
    json["maximum"] = option.maximum;
    json["unit"] = toUtf8(option.unit);
  } else {
    json["initial"] = option.choices[static_cast<std::size_t>(option.initial)].name;
    for (const tools::ToolChoice& choice : option.choices) json["choices"].push_back(choice.name);
  }
  return json;
}

Json statistics(const tools::Statistics& found) {
  return {{"samples", found.samples},
          {"seconds", found.seconds},
          {"peak", shortest(found.peak)},
          {"peakDecibels", shortest(tools::toDecibels(found.peak))},
          {"rms", shortest(found.rms)},
          {"rmsDecibels", shortest(tools::toDecibels(found.rms))},
          {"minimum", shortest(found.minimum)},
          {"maximum", shortest(found.maximum)},
          {"mean", found.mean},
          {"maximumDelta", shortest(found.maximumDelta)},
          {"zeroCrossings", found.zeroCrossings}};
}

}  // namespace

std::string formatsJson(std::span<const int> rows) {
  Json list = Json::array();
  for (int row : rows) {
    const io::FormatEntry& entry = *io::formatRow(row);
    Json missing = Json::object();
    for (bool writing : {false, true})
      if (const auto library = io::missingLibrary(entry, writing); !library.empty())
        missing[writing ? "write" : "read"] = toUtf8(library);
    Json bitRates = Json::array();
    for (int i = 0; entry.settings && entry.settings(i, entry.variant, nullptr) > 0; ++i)
      bitRates.push_back(entry.settings(i, entry.variant, nullptr));
    list.push_back({{"extension", toUtf8(entry.extension)},
                    {"description", toUtf8(entry.description)},
                    {"read", entry.reader != nullptr},
                    {"write", entry.writer != nullptr},
                    {"kinds", words(kindList(entry.kinds, " "))},
                    {"encodings", words(encodingList(entry.capabilities, " "))},
                    {"channels", layouts(entry.capabilities)},
                    {"bitRates", bitRates},
                    {"features", featureTexts(entry.features)},
                    {"missing", missing}});
  }
  return dump(list);
}

std::string detectionsJson(std::span<const DetectedFile> files) {
  Json list = Json::array();
  for (const DetectedFile& file : files)
    list.push_back({{"file", file.path},
                    {"format", toUtf8(io::descriptionOf(file.detection.row))},
                    {"extension", toUtf8(io::extensionOf(file.detection.row))},
                    {"confidence", file.detection.confidence}});
  return dump(list);
}

std::string comparisonJson(const compare::Report& report) {
  Json differences = Json::array();
  for (const compare::Difference& each : report.differences) {
    Json json = {{"where", toUtf8(each.where)}, {"what", toUtf8(each.what)}};
    if (!each.first.empty()) json["first"] = toUtf8(each.first);
    if (!each.second.empty()) json["second"] = toUtf8(each.second);
    if (each.features != 0) json["needs"] = featureTexts(each.features);
    differences.push_back(std::move(json));
  }
  return dump({{"equal", report.differences.empty()},
               {"compared",
                {{"instruments", report.instruments},
                 {"regions", report.regions},
                 {"waveforms", report.waveforms},
                 {"songs", report.songs}}},
               {"differences", std::move(differences)}});
}

std::string collectionJson(const Collection& collection, std::span<const std::string> notes) {
  auto count = [&](ItemKind kind) { return collection.count(kind); };
  Json json = {{"format", toUtf8(io::descriptionOf(collection.formatRow))},
               {"confidence", collection.formatConfidence},
               {"name", toUtf8(collection.name())},
               {"text", texts(collection)}};
  json["counts"] = {{"instruments", count(ItemKind::Instrument)},
                    {"layers", count(ItemKind::Layer)},
                    {"regions", count(ItemKind::Region)},
                    {"waveforms", count(ItemKind::Waveform)},
                    {"synths", count(ItemKind::Synth)},
                    {"songs", count(ItemKind::Song)},
                    {"tracks", count(ItemKind::Track)}};
  json["instruments"] = allOf<Instrument>(collection, instrument);
  json["waveforms"] = allOf<Waveform>(collection, waveform);
  json["songs"] = allOf<Song>(collection, song);
  json["notes"] = notes;
  return dump(json);
}

std::string toolsJson(std::span<const tools::ToolEntry* const> tools) {
  Json list = Json::array();
  for (const tools::ToolEntry* tool : tools) {
    Json json = {{"name", toUtf8(tool->name)}, {"description", toUtf8(tool->description)}};
    json["options"] = Json::array();
    for (const tools::ToolOption& option : tool->options) json["options"].push_back(toolOption(option));
    list.push_back(std::move(json));
  }
  return dump(list);
}

std::string conversionJson(std::span<const Path> inputs, const app::BatchOutput& output,
                           std::span<const std::string> notes) {
  Json json = {{"inputs", Json::array()},
               {"output", toUtf8(textOf(output.file))},
               {"skipped", output.skipped},
               {"losses", Json::array()},
               {"notes", notes}};
  for (const Path& input : inputs) json["inputs"].push_back(toUtf8(textOf(input)));
  for (const io::Loss& loss : output.losses)
    json["losses"].push_back(
        {{"feature", toUtf8(loss.feature)}, {"count", loss.count}, {"example", toUtf8(loss.example)}});
  return line(json);
}

std::string processJson(const tools::ToolEntry& tool, std::span<const std::string> files,
                        const app::ProcessResult& result) {
  Json json = {{"files", files}, {"tool", toUtf8(tool.name)}, {"processed", result.processedCount}};
  for (const tools::MeasuredVolume& volume : result.volumes)
    json["volumes"].push_back(
        {{"id", volume.waveform}, {"name", toUtf8(volume.name)}, {"decibels", shortest(volume.decibels)}});
  if (result.statistics) json["statistics"] = statistics(*result.statistics);
  return line(json);
}

}  // namespace vemko::cli
