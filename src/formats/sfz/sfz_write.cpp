#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "base/version.h"
#include "core/key_rules.h"
#include "core/parameters.h"
#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_articulation.h"
#include "io/companion_files.h"

namespace vemko::sfz {
namespace {

// Text that a reader takes for one value: nothing in it begins an opcode, a definition or a directive.
std::u16string plainValue(std::u16string_view text) {
  std::u16string plain(text);
  for (char16_t& c : plain)
    if (c < u' ' || c == u'=' || c == u'$' || c == u'<' || c == u'>') c = u'_';
  for (std::u16string_view word : {u"#define", u"#include", u"//", u"/*"})
    for (std::size_t at; (at = plain.find(word)) != plain.npos;) plain[at] = u'_';
  return plain;
}

bool hasSamples(const Waveform* waveform) { return waveform && waveform->frames > 0; }

// --- A region's own opcodes

void putRange(OpcodeLines& out, const char* low, const char* high, MidiRange range, MidiRange otherwise) {
  if (range.low != otherwise.low) out.putWhole(low, range.low);
  if (range.high != otherwise.high) out.putWhole(high, range.high);
}

void putMapping(const Region& region, const PlayRules& rules, OpcodeLines& out) {
  if (rules.ignoresKeys) {
    out.putWhole("lokey", -1);
    out.putWhole("hikey", -1);
  } else {
    putRange(out, "lokey", "hikey", region.keys, {});
  }
  putRange(out, "lovel", "hivel", region.velocities, {});
  out.putWhole("pitch_keycenter", effectiveRootKey(region));
}

void putSection(const Region& region, const Waveform& waveform, OpcodeLines& out) {
  const PlaySection section = effectivePlaySection(region);
  if (section.start != 0) out.putWhole("offset", section.start);
  for (const LoopRecord& record : waveform.records)
    if (record.type == RecordType::PositionMarker && record.name == kAltStartName &&
        record.start >= section.start) {
      out.putWhole("offset_cc68", record.start - section.start);
      break;
    }
  if (section.end <= section.start)
    out.putWhole("end", -1);
  else if (section.end < waveform.frames)
    out.putWhole("end", section.end - 1);
}

void putLoop(const Waveform& waveform, const PlayRules& rules, OpcodeLines& out) {
  const LoopRecord* loop = waveform.mainLoop();
  const bool loops = loop && loop->type == RecordType::Loop && loop->play != LoopPlay::Off &&
                     !rules.playsToEnd && loop->endFrames() > loop->startFrames();
  if (!loops) return out.putText("loop_mode", rules.playsToEnd ? "one_shot" : "no_loop");
  out.putText("loop_mode", loop->count == LoopCount::UntilRelease ? "loop_sustain" : "loop_continuous");
  const auto play = static_cast<std::size_t>(loop->play) - 1;
  if (loop->play != LoopPlay::Forward) out.putText("loop_type", wordsOf(Field::LoopType)[play]);
  out.putWhole("loop_start", std::llround(loop->startFrames()));
  out.putWhole("loop_end", std::llround(loop->endFrames()) - 1);
  if (loop->tuneCents != 0 && out.isVersion2()) out.putWhole("loop_tune", loop->tuneCents);
}

template <class Number>
auto equals(Number number) {
  return [number](double read) { return static_cast<Number>(read) == number; };
}

void putGroups(const Region& region, const PlayRules& rules, OpcodeLines& out) {
  const std::uint32_t group = region.exclusiveGroup ? region.exclusiveGroup : rules.group;
  const std::uint32_t stoppedBy = region.exclusiveGroup ? region.exclusiveGroup : rules.stoppedBy;
  // The upper half of the numbers was read from negative ones.
  if (group != 0) out.putWhole("group", static_cast<std::int32_t>(group));
  if (stoppedBy != 0) out.putWhole("off_by", static_cast<std::int32_t>(stoppedBy));
  if (rules.stopsNaturally) out.putText("off_mode", "normal");
}

void putRanges(OpcodeLines& out, std::string_view prefix, const std::vector<ControllerRange>& ranges,
               MidiRange otherwise) {
  for (const ControllerRange& range : ranges) {
    const std::string controller = "cc" + std::to_string(range.controller);
    if (range.low != otherwise.low)
      out.putWhole(std::string(prefix).append("lo").append(controller), range.low);
    if (range.high != otherwise.high)
      out.putWhole(std::string(prefix).append("hi").append(controller), range.high);
  }
}

void putControllers(const PlayRules& rules, OpcodeLines& out) {
  putRanges(out, "", rules.controllers, {0, 127});
  for (const ControllerRange& range : rules.starts) {
    const std::string controller = std::to_string(range.controller);
    out.putWhole("on_locc" + controller, range.low);
    out.putWhole("on_hicc" + controller, range.high);
  }
}

// The second version's opcodes are in files of the first one too: players that do not know them pass them
// over, and to the others the instrument is mute without them until a switch is pressed.
void putSwitches(const KeySwitches& switches, OpcodeLines& out) {
  if (!switches.hasConditions()) return;
  auto put = [&](const char* name, std::uint8_t key) {
    if (key != KeySwitches::kNone) out.putWhole(name, key);
  };
  putRange(out, "sw_lokey", "sw_hikey", switches.range, {});
  if (switches.last.low == switches.last.high) {
    put("sw_last", switches.last.low);
  } else {
    put("sw_lolast", switches.last.low);
    put("sw_hilast", switches.last.high);
  }
  put("sw_default", switches.atStart);
  put("sw_down", switches.down);
  put("sw_up", switches.up);
  put("sw_previous", switches.previous);
}

void putRules(const Region& region, const PlayRules& rules, OpcodeLines& out) {
  constexpr std::string_view kTriggers[] = {"attack", "release", "first", "legato"};
  if (region.trigger != Trigger::Attack)
    out.putText("trigger", kTriggers[static_cast<std::size_t>(region.trigger)]);
  if (region.delaySeconds != 0) out.putNumber("delay", region.delaySeconds, equals(region.delaySeconds));
  putGroups(region, rules, out);
  if (rules.sequenceLength != 1) out.putWhole("seq_length", rules.sequenceLength);
  if (rules.sequencePosition != 1) out.putWhole("seq_position", rules.sequencePosition);
  if (rules.randomLow != 0) out.putNumber("lorand", rules.randomLow, equals(rules.randomLow));
  if (rules.randomHigh != 1) out.putNumber("hirand", rules.randomHigh, equals(rules.randomHigh));
  putControllers(rules, out);
  putSwitches(rules.switches, out);
  putRange(out, "xfin_lokey", "xfin_hikey", region.fadeInKeys, {0, 0});
  putRange(out, "xfout_lokey", "xfout_hikey", region.fadeOutKeys, {127, 127});
  putRange(out, "xfin_lovel", "xfin_hivel", region.fadeInVelocities, {0, 0});
  putRange(out, "xfout_lovel", "xfout_hivel", region.fadeOutVelocities, {127, 127});
  putRanges(out, "xfin_", rules.fadeIns, {0, 0});
  putRanges(out, "xfout_", rules.fadeOuts, {127, 127});
  if (rules.keyFade == FadeCurve::Gain) out.putText("xf_keycurve", "gain");
  if (rules.velocityFade == FadeCurve::Gain) out.putText("xf_velcurve", "gain");
  if (rules.controllerFade == FadeCurve::Gain) out.putText("xf_cccurve", "gain");
}

// --- The whole file

class Writer {
 public:
  Writer(const Instrument& instrument, OutputFile& file, std::uint32_t variant)
      : instrument_(instrument),
        file_(file),
        dialect_(variant & kVersion2 ? kV2 : kV1),
        inSubFolder_((variant & kSubFolder) != 0),
        channels_(effectChannels(instrument.sendEffects)) {}

  bool write(io::CompanionFiles& companions, const io::SaveOptions& options) {
    std::vector<io::CompanionFiles::Sample> samples;
    for (Waveform* waveform : waveformsOf(instrument_))
      if (hasSamples(waveform)) samples.push_back({waveform, plainValue(waveform->displayName()), {}});
    const Path below = inSubFolder_ ? pathOf(kSampleFolder) : Path();
    auto buildText = [&] {
      for (const auto& sample : samples) names_[sample.waveform] = toUtf8(textOf(sample.name));
      build();
      return true;
    };
    if (!companions.save(samples, file_.path().parent_path(), below, options, buildText)) return false;
    if (file_.write(asBytes(text_))) return true;
    companions.removeLast();
    return false;
  }

 private:
  void line(std::string_view text) { text_.append(text).append("\r\n"); }
  void opcode(std::string_view text) { text_.append(" ").append(text).append("\r\n"); }

  void build() {
    text_.clear();
    writeHead();
    const Collection& collection = instrument_.collection();
    for (ItemId id : instrument_.children)
      if (const Layer* layer = collection.find<Layer>(id)) writeLayer(*layer);
  }

  void writeHead() {
    const std::string writtenBy = std::string("ritten by ") + kSoftwareName;
    if (dialect_ == kV2) {
      const std::string rule = "//" + std::string(97, '-');
      for (const std::string& each : {rule, std::string("// sfz Definition File"),
                                      std::string("// Version 2"), rule, "// W" + writtenBy})
        line(each);
    } else {
      line(std::string(77, '/'));
      line("/// sfz definition file");
      line("/// " + std::string(73, '-'));
      line("/// w" + writtenBy);
    }
    line("");
    const std::map<int, int> controllers = controllersAtRest();
    if (inSubFolder_ || !controllers.empty()) line("<control>");
    if (inSubFolder_) line(" default_path=" + toUtf8(kSampleFolder) + "/");
    for (const auto& [controller, value] : controllers) line(formatted(" set_cc%d=%d", controller, value));
    if (dialect_ != kV2) return;
    line("");
    line("<global>");
    line(" amplitude_oncc7=100");
    line(" amplitude_oncc11=100");
  }

  // Those that the regions' conditions ask for; in the second version also those that players are to begin
  // with.
  std::map<int, int> controllersAtRest() const {
    std::map<int, int> values;
    for (const Region* region : regionsOf(instrument_))
      for (const auto* ranges :
           {&rulesOf(*region).controllers, &rulesOf(*region).fadeIns, &rulesOf(*region).fadeOuts})
        for (const ControllerRange& range : *ranges)
          if (dialect_ == kV2 || range.atRest != usualAtRest(range.controller))
            values.emplace(range.controller, range.atRest);
    if (dialect_ == kV2)
      values.insert(
          {{1, 0}, {7, 127}, {11, 127}, {64, 0}, {69, 0}, {71, 0}, {72, 0}, {73, 0}, {74, 0}, {129, 0}});
    return values;
  }

  OpcodeLines linesOf(const Region& region) {
    OpcodeLines out(dialect_);
    const PlayRules& rules = rulesOf(region);
    const Waveform* waveform = region.waveform();
    const auto name = names_.find(waveform);
    if (name != names_.end()) out.putText("sample", name->second);
    putMapping(region, rules, out);
    if (name != names_.end()) {
      putSection(region, *waveform, out);
      putLoop(*waveform, rules, out);
    }
    putRules(region, rules, out);
    ArticulationBlock block = effective(region);
    settleFixedNote(region, block);
    RegionFacts facts{.keys = region.keys};
    if (waveform) facts.tuneCents = waveform->fineTuneCents, facts.volumeDb = waveform->volumeAdjustmentDb;
    putArticulation(block, facts, channels_, out);
    return out;
  }

  // What all of a layer's regions say alike is said once, for the group.
  static std::vector<std::string_view> commonLines(const std::vector<OpcodeLines>& regions) {
    if (regions.size() < 2) return {};
    std::unordered_map<std::string_view, std::size_t> counts;
    for (std::size_t i = 0; i < regions.front().size(); ++i) counts[regions.front()[i]] = 0;
    for (const OpcodeLines& lines : regions)
      for (std::size_t i = 0; i < lines.size(); ++i)
        if (const auto at = counts.find(lines[i]); at != counts.end()) ++at->second;
    std::vector<std::string_view> common;
    for (std::size_t i = 0; i < regions.front().size(); ++i)
      if (counts[regions.front()[i]] == regions.size()) common.push_back(regions.front()[i]);
    return common;
  }

  void writeLayer(const Layer& layer) {
    const Collection& collection = instrument_.collection();
    std::vector<OpcodeLines> regions;
    for (ItemId id : layer.children)
      if (const Region* region = collection.find<Region>(id)) regions.push_back(linesOf(*region));
    if (regions.empty()) return;
    const auto common = commonLines(regions);
    const std::unordered_set<std::string_view> isCommon(common.begin(), common.end());
    line("");
    line("/// " + toUtf8(plainValue(layer.displayName())));
    line("<group>");
    for (std::string_view each : common) opcode(each);
    for (const OpcodeLines& lines : regions) {
      line("");
      line("<region>");
      for (std::size_t i = 0; i < lines.size(); ++i)
        if (!isCommon.contains(lines[i])) opcode(lines[i]);
    }
  }

  const Instrument& instrument_;
  OutputFile& file_;
  Dialects dialect_;
  bool inSubFolder_;
  EffectChannels channels_;
  std::unordered_map<const Waveform*, std::string> names_;
  std::string text_;
};

// A collection of one instrument stands for that.
const Instrument* instrumentOf(const Item& item) {
  if (item.kind() == ItemKind::Instrument) return static_cast<const Instrument*>(&item);
  if (item.kind() != ItemKind::Collection) return nullptr;
  const auto instruments = static_cast<const Collection&>(item).all<Instrument>();
  return instruments.size() == 1 ? instruments.front() : nullptr;
}

}  // namespace

bool writeSfz(Item& item, OutputFile& file, const io::SaveOptions& options) {
  const Instrument* instrument = instrumentOf(item);
  if (!instrument) return fail(u"The file format can not save this item");
  io::CompanionFiles own;
  io::CompanionFiles& companions = options.companions ? *options.companions : own;
  return Writer(*instrument, file, options.variant).write(companions, options);
}

}  // namespace vemko::sfz
