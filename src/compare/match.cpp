#include "compare/match.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <functional>
#include <string>

#include "core/slot_values.h"

namespace vemko::compare {
namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

/// The hash of what two items must have in common to be paired in one pass.
template <class T>
using Key = std::function<std::uint64_t(const T&, bool isFirst)>;

std::uint64_t mixed(std::uint64_t hash, std::uint64_t value) {
  hash ^= value + 0x9E3779B97F4A7C15 + (hash << 6) + (hash >> 2);
  return hash * 0xFF51AFD7ED558CCD;
}

std::uint64_t hashOf(std::u16string_view text) { return std::hash<std::u16string_view>()(text); }

/// How unlike two items are that one pass would pair.
template <class T>
using Distance = std::function<double(const T&, const T&)>;

/// Pairs in passes from the strictest key to the loosest; within a key the most alike where a distance is
/// given and they are few, else in order.
template <class T>
Matched<T> matchInPasses(std::span<const T* const> first, std::span<const T* const> second,
                         std::span<const Key<T>> keys, const Distance<T>& distance = {}) {
  constexpr std::size_t kFew = 16;
  std::vector<std::size_t> partner(first.size(), kNone);
  std::vector<char> isTaken(second.size());
  for (const Key<T>& key : keys) {
    std::unordered_map<std::uint64_t, std::deque<std::size_t>> free;
    for (std::size_t i = 0; i < second.size(); ++i)
      if (!isTaken[i]) free[key(*second[i], false)].push_back(i);
    if (free.empty()) break;
    for (std::size_t i = 0; i < first.size(); ++i) {
      if (partner[i] != kNone) continue;
      const auto found = free.find(key(*first[i], true));
      if (found == free.end() || found->second.empty()) continue;
      auto& candidates = found->second;
      auto best = candidates.begin();
      if (distance && candidates.size() > 1 && candidates.size() <= kFew)
        best = std::ranges::min_element(
            candidates, {}, [&](std::size_t other) { return distance(*first[i], *second[other]); });
      partner[i] = *best;
      isTaken[partner[i]] = 1;
      candidates.erase(best);
    }
  }
  Matched<T> matched;
  for (std::size_t i = 0; i < first.size(); ++i)
    if (partner[i] == kNone)
      matched.onlyFirst.push_back(first[i]);
    else
      matched.pairs.emplace_back(first[i], second[partner[i]]);
  for (std::size_t i = 0; i < second.size(); ++i)
    if (!isTaken[i]) matched.onlySecond.push_back(second[i]);
  return matched;
}

std::uint64_t sizeOf(const Waveform& w) { return mixed(w.frames, w.channels); }

// Of some samples in the middle, coarse enough to survive another integer width.
std::uint64_t fingerprintOf(const Waveform& w) {
  constexpr std::size_t kFrames = 256;
  std::vector<float> samples(kFrames * w.channels);
  const auto stream = openSamples(w, w.frames / 2);
  const auto got = stream && !samples.empty() ? stream->read(samples) : std::nullopt;
  std::uint64_t hash = sizeOf(w);
  for (std::size_t i = 0; got && i < *got * w.channels; ++i)
    hash = mixed(hash, static_cast<std::uint64_t>(std::lround(samples[i] * 16) + 16));
  return hash;
}

std::u16string_view lastPart(std::u16string_view name) {
  constexpr std::u16string_view kBetween = u" - ";
  const std::size_t at = name.rfind(kBetween);
  return at == name.npos ? name : name.substr(at + kBetween.size());
}

std::uint64_t loopPlaceOf(const Waveform& w) {
  const LoopRecord* loop = w.mainLoop();
  return loop && loop->play != LoopPlay::Off ? mixed(loop->start, loop->end) : 0;
}

// Waveforms of one name are told apart by numbers, which come in another order after another way.
std::u16string_view withoutNumber(std::u16string_view name) {
  const std::size_t end = name.find_last_not_of(u"0123456789");
  return end != name.npos && end > 0 && name[end] == u' ' ? name.substr(0, end) : name;
}

// Variants of one recording differ in their loops.
std::uint64_t loopOf(const Waveform& w) {
  const LoopRecord* loop = w.mainLoop();
  if (!loop || loop->play == LoopPlay::Off) return 0;
  return mixed(loopPlaceOf(w),
               static_cast<std::uint64_t>(loop->play) << 1 | static_cast<std::uint64_t>(loop->count));
}

std::uint64_t rangesOf(const Region& r) {
  return std::uint64_t{r.keys.low} << 24 | r.keys.high << 16 | r.velocities.low << 8 | r.velocities.high;
}

// How many slots differ audibly.
double unlikeness(const Region& first, const Region& second) {
  const SlotValues a = valuesOf(effective(first)), b = valuesOf(effective(second));
  int count = 0;
  for (std::size_t i = 0; i < a.slots.size(); ++i)
    count += std::fabs(a.slots[i] - b.slots[i]) > 0.01f * (1 + std::fabs(a.slots[i]));
  return count;
}

template <class T>
std::uint64_t inOrder(const T&, bool) {
  return 0;
}

}  // namespace

Matched<Waveform> matchWaveforms(std::span<const Waveform* const> first,
                                 std::span<const Waveform* const> second) {
  const Key<Waveform> keys[] = {
      [](const Waveform& w, bool) { return mixed(mixed(sizeOf(w), hashOf(w.name())), loopOf(w)); },
      [](const Waveform& w, bool) {
        return mixed(mixed(sizeOf(w), hashOf(withoutNumber(w.name()))), loopOf(w));
      },
      [](const Waveform& w, bool) { return mixed(fingerprintOf(w), loopOf(w)); },
      [](const Waveform& w, bool) { return fingerprintOf(w); },
      [](const Waveform& w, bool) { return hashOf(w.name()); },
      [](const Waveform& w, bool) { return hashOf(lastPart(w.name())); },
      [](const Waveform& w, bool) { return mixed(sizeOf(w), w.rate); },
      inOrder<Waveform>,
  };
  return matchInPasses<Waveform>(first, second, keys);
}

Matched<Song> matchSongs(std::span<const Song* const> first, std::span<const Song* const> second) {
  const Key<Song> keys[] = {[](const Song& s, bool) { return hashOf(s.name()); }, inOrder<Song>};
  return matchInPasses<Song>(first, second, keys);
}

namespace {

// From the closest likeness to the loosest: content with the loop, with its place, by itself.
std::array<std::uint64_t, 3> likenessesOf(const Waveform& waveform) {
  const std::uint64_t content = fingerprintOf(waveform);
  return {mixed(content, loopOf(waveform)), mixed(content, ~loopPlaceOf(waveform)), content};
}

}  // namespace

WaveformClasses::WaveformClasses(Matched<Waveform>& matched) {
  using Pair = std::pair<const Waveform*, const Waveform*>;
  auto& pairs = matched.pairs;
  const std::size_t count = pairs.size();
  for (std::size_t i = 0; i < count; ++i)
    first_[pairs[i].first->id()] = second_[pairs[i].second->id()] = i + 1;
  auto join = [&](std::vector<const Waveform*>& left, auto& classes, auto side) {
    if (left.empty()) return;
    std::unordered_map<std::uint64_t, std::size_t> known;
    for (std::size_t i = 0; i < count; ++i)
      for (std::uint64_t key : likenessesOf(*(pairs[i].*side))) known.emplace(key, i);
    std::erase_if(left, [&](const Waveform* waveform) {
      auto same = known.end();
      for (std::uint64_t key : likenessesOf(*waveform))
        if (same == known.end()) same = known.find(key);
      if (same == known.end()) return false;
      classes[waveform->id()] = same->second + 1;
      Pair pair = pairs[same->second];
      pair.*side = waveform;
      pairs.push_back(pair);
      return true;
    });
  };
  join(matched.onlyFirst, first_, &Pair::first);
  join(matched.onlySecond, second_, &Pair::second);
}

std::size_t WaveformClasses::of(const Region& region, bool isFirst) const {
  const auto& classes = isFirst ? first_ : second_;
  const auto found = classes.find(region.waveformId);
  return found == classes.end() ? 0 : found->second;
}

Matched<Instrument> matchInstruments(std::span<const Instrument* const> first,
                                     std::span<const Instrument* const> second,
                                     const WaveformClasses& classes) {
  std::unordered_map<const Instrument*, std::uint64_t> contents;
  auto regions = [&](const Instrument& instrument, bool isFirst) {
    const auto [content, isNew] = contents.try_emplace(&instrument, 0);
    if (isNew)  // in any order
      for (const Region* region : regionsOf(instrument))
        content->second += mixed(rangesOf(*region), classes.of(*region, isFirst));
    return content->second;
  };
  const Key<Instrument> keys[] = {
      [](const Instrument& i, bool) { return mixed(i.patch.word, hashOf(i.name())); },
      [](const Instrument& i, bool) { return hashOf(i.name()); },
      [&](const Instrument& i, bool isFirst) {
        return mixed(hashOf(lastPart(i.name())), regions(i, isFirst));
      },
      [](const Instrument& i, bool) { return hashOf(lastPart(i.name())); },
      regions,
      [](const Instrument& i, bool) -> std::uint64_t { return i.patch.word; },
      inOrder<Instrument>,
  };
  return matchInPasses<Instrument>(first, second, keys);
}

Matched<Region> matchRegions(const Instrument& first, const Instrument& second,
                             const WaveformClasses& classes) {
  auto waveform = [&](const Region& r, bool isFirst) -> std::uint64_t { return classes.of(r, isFirst); };
  const Key<Region> keys[] = {
      [&](const Region& r, bool isFirst) {
        return mixed(mixed(rangesOf(r), waveform(r, isFirst)), effective(r).hash());
      },
      [&](const Region& r, bool isFirst) { return mixed(rangesOf(r), waveform(r, isFirst)); },
      [](const Region& r, bool) { return rangesOf(r); },
      waveform,
      inOrder<Region>,
  };
  const std::vector<Region*> inFirst = regionsOf(first), inSecond = regionsOf(second);
  const std::vector<const Region*> a(inFirst.begin(), inFirst.end()), b(inSecond.begin(), inSecond.end());
  return matchInPasses<Region>(a, b, keys, unlikeness);
}

}  // namespace vemko::compare
