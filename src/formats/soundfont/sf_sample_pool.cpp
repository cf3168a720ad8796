#include "formats/soundfont/sf_sample_pool.h"

#include <algorithm>
#include <cstring>

#include "base/text.h"
#include "io/fixup/channel_sources.h"

namespace vemko::soundfont {
namespace {

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

SamplePool::SamplePool(std::span<Waveform* const> waveforms, bool mono) {
  std::unordered_map<std::string, std::size_t> known;
  std::vector<const Waveform*> firstOfGroup;
  for (const Waveform* waveform : waveforms) {
    auto sources = channelSources(*waveform);
    const auto [place, isNew] =
        known.try_emplace(keyOf(*waveform, sources, notesOf<WaveformNotes>(*waveform)), groups_.size());
    if (isNew) {
      groups_.push_back(makeGroup(*waveform, std::move(sources), mono));
      firstOfGroup.push_back(waveform);
    }
    groupOf_[waveform] = place->second;
  }
  numberCutNames(firstOfGroup);
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
  setNames(group, namesOf(waveform, group.header, group.place.isStereo));
  if (!group.place.isStereo) return group;
  PooledSample& first = samples_[group.place.sample];
  PooledSample& second = samples_[group.place.sample + 1];
  first.type = sample_type::Left;
  second.type = sample_type::Right;
  first.link = static_cast<std::uint16_t>(group.place.sample + 1);
  second.link = static_cast<std::uint16_t>(group.place.sample);
  return group;
}

void SamplePool::setNames(Group& group, const SampleNames& names) {
  samples_[group.place.sample].name = names.left;
  if (group.place.isStereo) samples_[group.place.sample + 1].name = names.right;
  group.isNameCut = names.isCut;
}

// Of names that were cut to the same, the later ones get numbers; whole names stay as they are.
void SamplePool::numberCutNames(std::span<const Waveform* const> firstOfGroup) {
  constexpr unsigned kFirstNumber = 2;
  std::unordered_set<std::string> taken;
  std::unordered_map<std::string, unsigned> numbers;
  const auto claim = [&](const Group& group) {
    taken.insert(samples_[group.place.sample].name);
    if (group.place.isStereo) taken.insert(samples_[group.place.sample + 1].name);
  };
  for (const Group& group : groups_)
    if (!group.isNameCut) claim(group);
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    Group& group = groups_[i];
    if (!group.isNameCut) continue;
    if (const std::string name = samples_[group.place.sample].name; taken.contains(name)) {
      unsigned& number = numbers.try_emplace(name, kFirstNumber).first->second;
      setNames(group, numberedNames(*firstOfGroup[i], group.place.isStereo, taken, number));
    }
    claim(group);
  }
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
