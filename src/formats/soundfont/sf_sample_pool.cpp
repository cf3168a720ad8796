#include "formats/soundfont/sf_sample_pool.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "io/fixup/channel_sources.h"

namespace vemko::soundfont {
namespace {

constexpr std::size_t kNameBytes = 20;

// "Piano" of "Piano 2"; the whole name where it ends otherwise.
std::u16string_view withoutNumber(std::u16string_view name) {
  const std::size_t digits = name.find_last_not_of(u"0123456789");
  if (digits == name.npos || digits + 1 == name.size() || name[digits] != u' ') return name;
  return name.substr(0, digits);
}

// The name of the other side: the last "L" of the left one's mark becomes an "R".
std::string rightName(std::string left, std::size_t markAt) {
  const std::string mark = left.substr(markAt);
  for (const auto& [from, to] : {std::pair<std::string_view, std::string_view>{"Left", "Right"},
                                 {"left", "right"},
                                 {"LEFT", "RIGHT"},
                                 {"L", "R"},
                                 {"l", "r"}})
    if (const std::size_t at = mark.rfind(from); at != mark.npos) {
      left.replace(markAt + at, from.size(), to);
      return left.substr(0, kNameBytes);
    }
  return {};
}

struct SideNames {
  std::string left, right;
};

// The names that the sides had in their file, else the waveform's with a mark.
SideNames sideNames(const Waveform& waveform, const SampleHeader* header) {
  if (header) {
    const std::u16string raw = textOf(header->name);
    for (std::u16string_view common :
         {std::u16string_view(waveform.name()), withoutNumber(waveform.name())}) {
      if (common.empty() || !raw.starts_with(common) || common.size() == raw.size()) continue;
      const std::string left(charactersOf(header->name));
      const std::size_t markAt = std::min(toUtf8(common).size(), left.size() - 1);
      if (std::string right = rightName(left, markAt); !right.empty()) return {left, right};
    }
  }
  const std::string common = toUtf8(waveform.displayName(), kNameBytes - 2);
  return {common + " L", common + " R"};
}

void append(std::string& key, std::uint64_t value) {
  key.append(reinterpret_cast<const char*>(&value), sizeof value);
}
std::uint64_t addressOf(const void* object) { return reinterpret_cast<std::uintptr_t>(object); }

// Waveforms of equal keys differ in their loops at most.
std::string keyOf(const Waveform& waveform, std::span<const std::shared_ptr<const SampleSource>> sources,
                  const WaveformNotes* notes) {
  std::string key;
  append(key, notes && !sources.empty() ? addressOf(notes->bank) : waveform.id());
  append(key, notes && !sources.empty() ? notes->sample : ~std::uint64_t{0});
  for (const auto& source : sources) append(key, addressOf(source.get()));
  for (std::uint64_t value :
       {std::uint64_t{waveform.frames}, std::uint64_t{waveform.rate}, std::uint64_t{waveform.channels},
        std::uint64_t{waveform.rootKey}, std::uint64_t{static_cast<std::uint8_t>(waveform.fineTuneCents)}})
    append(key, value);
  return key;
}

// The stored samples of each channel; empty for samples that were rewritten.
std::vector<std::shared_ptr<const SampleSource>> channelSources(const Waveform& waveform) {
  if (!waveform.sourceIsIntact()) return {};
  if (waveform.channels != 2) return {waveform.source};
  return {io::makeChannelSource(waveform.source, 0), io::makeChannelSource(waveform.source, 1)};
}

}  // namespace

std::string restoredName(std::u16string_view name, const Name* raw) {
  if (raw && (textOf(*raw) == name || textOf(*raw) == withoutNumber(name)))
    return std::string(charactersOf(*raw));
  return toUtf8(name, kNameBytes);
}

SamplePool::SamplePool(std::span<Waveform* const> waveforms, bool mono) {
  std::unordered_map<std::string, std::size_t> known;
  for (const Waveform* waveform : waveforms) {
    auto sources = channelSources(*waveform);
    const auto [place, isNew] =
        known.try_emplace(keyOf(*waveform, sources, notesOf<WaveformNotes>(*waveform)), groups_.size());
    if (isNew) groups_.push_back(makeGroup(*waveform, std::move(sources), mono));
    groupOf_[waveform] = place->second;
  }
  linkSides(waveforms);
}

std::size_t SamplePool::addData(ChannelData data) {
  std::string key;
  if (const auto stored = data.source ? data.source->stored() : std::nullopt; stored) {
    append(key, addressOf(data.source->file().get()));
    append(key, stored->offset);
    append(key, stored->byteCount);
    append(key, static_cast<std::uint64_t>(stored->encoding));
  } else {
    append(key, data.source ? addressOf(data.source.get()) : addressOf(data.waveform));
    append(key, static_cast<std::uint64_t>(data.channel));
  }
  const auto [place, isNew] = dataOf_.try_emplace(std::move(key), data_.size());
  if (isNew) data_.push_back(std::move(data));
  return place->second;
}

SamplePool::Group SamplePool::makeGroup(const Waveform& waveform,
                                        std::vector<std::shared_ptr<const SampleSource>> sources, bool mono) {
  const auto* notes = notesOf<WaveformNotes>(waveform);
  Group group;
  group.place.sample = static_cast<std::uint32_t>(samples_.size());
  group.place.isStereo = waveform.channels == 2 && !mono;
  group.header = notes ? &notes->bank->samples[notes->sample] : nullptr;
  PooledSample sample;
  sample.rate = waveform.rate;
  sample.key = waveform.rootKey;
  sample.correctionCents = waveform.fineTuneCents;
  if (const LoopRecord* loop = waveform.mainLoop()) {
    sample.loopStart = loop->start;
    sample.loopEnd = loop->end;
  }
  const int channels = group.place.isStereo ? 2 : 1;
  for (int channel = 0; channel < channels; ++channel) {
    const bool isMixed = waveform.channels > channels;
    ChannelData data{&waveform, isMixed ? kAllChannels : channel, nullptr, waveform.frames};
    if (!isMixed && !sources.empty()) data.source = sources[static_cast<std::size_t>(channel)];
    sample.data = addData(std::move(data));
    samples_.push_back(sample);
  }
  PooledSample& first = samples_[group.place.sample];
  if (!group.place.isStereo) {
    first.name = restoredName(waveform.name(), group.header ? &group.header->name : nullptr);
    return group;
  }
  const SideNames names = sideNames(waveform, group.header);
  PooledSample& second = samples_[group.place.sample + 1];
  first.name = names.left;
  second.name = names.right;
  first.type = sample_type::Left;
  second.type = sample_type::Right;
  first.link = static_cast<std::uint16_t>(group.place.sample + 1);
  second.link = static_cast<std::uint16_t>(group.place.sample);
  return group;
}

// Pairs that stayed apart keep their link, the first of several ways to loop speaking for all.
void SamplePool::linkSides(std::span<Waveform* const> waveforms) {
  for (const Waveform* left : waveforms) {
    if (left->side != StereoSide::Left || left->channels != 1) continue;
    const auto* right = left->collection().find<Waveform>(left->pairedWith);
    const PooledWaveform* other = right ? find(*right) : nullptr;
    if (!other || right->pairedWith != left->id() || right->channels != 1) continue;
    PooledSample &first = samples_[find(*left)->sample], &second = samples_[other->sample];
    if (first.type != sample_type::Mono || second.type != sample_type::Mono) continue;
    first.type = sample_type::Left;
    second.type = sample_type::Right;
    first.link = static_cast<std::uint16_t>(other->sample);
    second.link = static_cast<std::uint16_t>(find(*left)->sample);
  }
}

const PooledWaveform* SamplePool::find(const Waveform& waveform) const {
  const auto found = groupOf_.find(&waveform);
  return found == groupOf_.end() ? nullptr : &groups_[found->second].place;
}

void SamplePool::keepFileLoop(const Waveform& waveform) {
  const auto found = groupOf_.find(&waveform);
  if (found == groupOf_.end()) return;
  Group& group = groups_[found->second];
  if (!group.header || group.keepsFileLoop) return;
  group.keepsFileLoop = true;
  const bool isRelative = (group.header->type & sample_type::Compressed) != 0;
  const std::int64_t origin = isRelative ? 0 : group.header->start;
  for (std::uint32_t i = group.place.sample; i <= group.place.right().value_or(group.place.sample); ++i) {
    samples_[i].loopStart = group.header->loopStart - origin;
    samples_[i].loopEnd = group.header->loopEnd - origin;
  }
}

bool SamplePool::keepsFileLoop(const Waveform& waveform) const {
  const auto found = groupOf_.find(&waveform);
  return found != groupOf_.end() && groups_[found->second].keepsFileLoop;
}

}  // namespace vemko::soundfont
