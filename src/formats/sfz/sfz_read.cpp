#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "core/filter.h"
#include "formats/sfz/sfz.h"
#include "formats/sfz/sfz_lexer.h"
#include "formats/sfz/sfz_region.h"
#include "formats/sfz/sfz_tally.h"
#include "formats/sfz/sfz_text.h"

namespace vemko::sfz {
namespace {

// Regions inherit everything from above: what one file may cost in all, far beyond what any instrument needs.
constexpr std::size_t kMaxOpcodes = 1024;  // that hold for one region
constexpr std::size_t kMaxWork = 400'000'000;
constexpr std::size_t kMaxNameBytes = 255, kMaxValueBytes = 16384;

// The later of equal keys wins.
void settle(std::vector<Setting>& settings) {
  std::ranges::stable_sort(settings, {}, &Setting::key);
  auto last = settings.begin();
  for (auto at = settings.begin(); at != settings.end(); ++at) {
    if (at + 1 != settings.end() && (at + 1)->key == at->key) continue;
    *last++ = *at;
  }
  settings.erase(last, settings.end());
}

enum Level { kGlobal, kMaster, kGroup, kRegion, kLevels };

class Reader {
 public:
  Reader(Collection& collection, const Path& path)
      : lexer_(path.parent_path(),
               {.header = [this](auto name, Place at) { beginHeader(name, at); },
                .opcode = [this](auto name, auto value, Place at) { take(name, value, at); },
                .title = [this](auto text, Place at) { title_ = text, titlePlace_ = at; }}),
        regions_(collection, path) {}

  bool read(std::string_view text, const Path& path) {
    const bool ok = lexer_.read(text, path);
    endRegion();
    tally_.report(lexer_);
    return ok && (!isTooMuch_ || fail(u"The file has too many opcodes"));
  }

 private:
  void beginHeader(std::string_view name, Place at) {
    endRegion();
    hasHeader_ = true;
    const bool hasTitle = titlePlace_.file == at.file && titlePlace_.line + 1 == at.line;
    constexpr std::pair<std::string_view, Level> kHeaders[] = {
        {"global", kGlobal}, {"master", kMaster}, {"group", kGroup}, {"region", kRegion}};
    level_ = std::nullopt;
    isControl_ = name == "control";
    if (isControl_) defaultPath_.clear();
    for (const auto& [word, level] : kHeaders)
      if (word == name) level_ = level;
    if (!level_ && !isControl_) tally_.add(u"is not used", std::string("<").append(name).append(">"), at);
    if (!level_) return;
    for (int below = *level_; below < kLevels; ++below) settings_[below].clear();
    if (*level_ == kRegion) return;
    inheritedIsKnown_ = false;
    regions_.endLayer(*level_ == kGroup && hasTitle ? title_ : std::string_view());
  }

  void take(std::string_view name, std::string_view value, Place at) {
    if (!hasHeader_) return tally_.add(u"stands before any header", name, at);
    if (!level_ && !isControl_) return;
    if (name.size() > kMaxNameBytes || value.size() > kMaxValueBytes)
      return tally_.add(u"is too long, or its value is", name, at);
    const auto key = findKey(name);
    if (!key) {
      if (!isControl_) tally_.add(u"has no place here", name, at);
      return;
    }
    const OpcodeRow& row = rowOf(*key);
    if (takeControl(*key, value)) return;
    if (isControl_ || row.field == Field::Ignored) return;
    if (settings_[*level_].size() >= 4 * kMaxOpcodes) settle(settings_[*level_]);
    if (settings_[*level_].size() >= 4 * kMaxOpcodes) return tally_.add(u"is one of too many", name, at);
    if (isFolded(*key)) return takeFolded(*key, name, value, at);
    if (row.form == Form::Text) return put({*key, double(textNumber(row, value))});
    if (row.field == Field::KeyCenter && value == "sample") return put({*key, kKeyCenterOfSample});
    auto number = parseValue(row, value);
    if (!number) {
      tally_.add(u"has a value that makes no sense", name, at);
      // A low-pass in place of a shelf or an all-pass filter would take away what is to be heard.
      if (row.field == Field::FilterShape) put({*key, static_cast<double>(FilterType::Off)});
      return;
    }
    if (row.form == Form::Key && *number >= 0) *number += keyOffset_;
    if (row.form != Form::Word) {
      const double bounded = std::clamp<double>(*number, row.minimum, row.maximum);
      if (bounded != *number) tally_.add(u"has a value beyond its bounds", name, at);
      number = bounded;
    }
    if (row.field == Field::SwitchLast) return putEach({"sw_lolast", "sw_hilast"}, *number);
    if (row.field != Field::AllKeys) return put({*key, *number});
    putEach({"lokey", "hikey"}, *number);
    if (*number >= 0) put({*findKey("pitch_keycenter"), *number});
  }

  void takeFolded(const OpcodeKey& key, std::string_view name, std::string_view value, Place at) {
    constexpr double kMost = 1e6;
    constexpr OpcodeRow kNumber{};
    const auto number = parseValue(kNumber, value);
    if (!number) return tally_.add(u"has a value that makes no sense", name, at);
    const bool isKnown = !isCurveOf(key) || curveAt(*number, 0);
    tally_.add(isKnown ? u"counts with the controller as it is at the start" : u"has no place here", name,
               at);
    put({key, std::clamp(*number, -kMost, kMost)});
  }

  bool takeControl(const OpcodeKey& key, std::string_view value) {
    const OpcodeRow& row = rowOf(key);
    const bool isFine = row.field == Field::FineControllerAtRest;
    if (isFine || row.field == Field::ControllerAtRest) {
      const auto number = parseValue(row, value);
      if (number && isControl_)
        regions_.setAtRest(key.controller, isFine ? std::round(*number * 127) : *number);
      return true;
    }
    if (row.field == Field::DefaultPath) {
      defaultPath_ = value;
      return true;
    }
    const bool isNote = row.field == Field::NoteOffset, isOctave = row.field == Field::OctaveOffset;
    if (!isNote && !isOctave) return false;
    const int offset = static_cast<int>(std::clamp<double>(parseValue(row, value).value_or(0), -127, 127));
    (isNote ? noteOffset_ : octaveOffset_) = offset;
    keyOffset_ = noteOffset_ + 12 * octaveOffset_;
    return true;
  }

  std::uint32_t textNumber(const OpcodeRow& row, std::string_view value) {
    if (row.field != Field::Sample) return regions_.labelNumber(value);
    if (value.empty()) return kNoSample;
    if (defaultPath_.empty() || value.starts_with('*')) return regions_.sampleNumber(value);
    return regions_.sampleNumber(defaultPath_ + std::string(value));
  }

  void put(const Setting& setting) { settings_[*level_].push_back(setting); }
  void putEach(std::initializer_list<const char*> names, double number) {
    for (const char* name : names) put({*findKey(name), number});
  }

  // Names repeat all over a file.
  std::optional<OpcodeKey> findKey(std::string_view name) {
    constexpr std::size_t kMaxKnown = 10'000;
    const auto known = keys_.find(name);
    if (known != keys_.end()) return known->second;
    if (keys_.size() >= kMaxKnown) keys_.clear();
    return keys_.emplace(std::string(name), findOpcode(name)).first->second;
  }

  void endRegion() {
    if (level_ != kRegion || isTooMuch_) return;
    level_ = std::nullopt;
    if (!inheritedIsKnown_) inherit();
    settle(settings_[kRegion]);
    merged_.clear();
    std::ranges::set_union(settings_[kRegion], inherited_, std::back_inserter(merged_), {}, &Setting::key,
                           &Setting::key);
    if (merged_.size() > kMaxOpcodes) merged_.resize(kMaxOpcodes);
    work_ += merged_.size() + 1;
    isTooMuch_ = work_ > kMaxWork;
    if (!isTooMuch_) regions_.add(merged_);
  }

  void inherit() {
    inherited_.clear();
    for (int level = kGlobal; level < kRegion; ++level)
      inherited_.insert(inherited_.end(), settings_[level].begin(), settings_[level].end());
    settle(inherited_);
    if (inherited_.size() > kMaxOpcodes) inherited_.resize(kMaxOpcodes);
    inheritedIsKnown_ = true;
  }

  Lexer lexer_;
  RegionBuilder regions_;
  Tally tally_;
  std::array<std::vector<Setting>, kLevels> settings_;
  std::vector<Setting> inherited_, merged_;
  bool inheritedIsKnown_ = false;
  bool hasHeader_ = false, isControl_ = false, isTooMuch_ = false;
  std::optional<Level> level_;  // of the present header, nothing for others
  std::string_view title_;
  Place titlePlace_;
  std::string defaultPath_;
  int noteOffset_ = 0, octaveOffset_ = 0, keyOffset_ = 0;
  std::map<std::string, std::optional<OpcodeKey>, std::less<>> keys_;
  std::size_t work_ = 0;
};

}  // namespace

bool readSfz(Collection& collection, InputFile& file, std::uint32_t) {
  const Bytes bytes = file.bytes();
  if (bytes.empty() && file.size() != 0) return false;
  std::string converted;
  if (!Reader(collection, file.path()).read(textOfFile(bytes, converted), file.path())) return false;
  collection.setName(textOf(file.path().stem()));
  return true;
}

}  // namespace vemko::sfz
