#include "compare/match.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <string>

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

/// Pairs in passes from the strictest key to the loosest; within a key in order.
template <class T>
Matched<T> matchInPasses(std::span<const T* const> first, std::span<const T* const> second,
                         std::span<const Key<T>> keys) {
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
      partner[i] = found->second.front();
      isTaken[partner[i]] = 1;
      found->second.pop_front();
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

// Variants of one recording differ in their loops.
std::uint64_t loopOf(const Waveform& w) {
  const LoopRecord* loop = w.mainLoop();
  if (!loop || loop->play == LoopPlay::Off) return 0;
  return mixed(mixed(loop->start, loop->end),
               static_cast<std::uint64_t>(loop->play) << 1 | static_cast<std::uint64_t>(loop->count));
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
      [](const Waveform& w, bool) { return mixed(fingerprintOf(w), loopOf(w)); },
      [](const Waveform& w, bool) { return fingerprintOf(w); },
      [](const Waveform& w, bool) { return mixed(sizeOf(w), w.rate); },
      [](const Waveform& w, bool) { return hashOf(w.name()); },
      inOrder<Waveform>,
  };
  return matchInPasses<Waveform>(first, second, keys);
}

Matched<Instrument> matchInstruments(std::span<const Instrument* const> first,
                                     std::span<const Instrument* const> second) {
  const Key<Instrument> keys[] = {
      [](const Instrument& i, bool) { return mixed(i.patch.word, hashOf(i.name())); },
      [](const Instrument& i, bool) -> std::uint64_t { return i.patch.word; },
      [](const Instrument& i, bool) { return hashOf(i.name()); },
      inOrder<Instrument>,
  };
  return matchInPasses<Instrument>(first, second, keys);
}

Matched<Song> matchSongs(std::span<const Song* const> first, std::span<const Song* const> second) {
  const Key<Song> keys[] = {[](const Song& s, bool) { return hashOf(s.name()); }, inOrder<Song>};
  return matchInPasses<Song>(first, second, keys);
}

Matched<Region> matchRegions(const Instrument& first, const Instrument& second,
                             const WaveformPartners& partners) {
  auto ranges = [](const Region& r) {
    return std::uint64_t{r.keys.low} << 24 | r.keys.high << 16 | r.velocities.low << 8 | r.velocities.high;
  };
  // A waveform of the first collection goes by its partner's id.
  auto waveform = [&](const Region& r, bool isFirst) -> std::uint64_t {
    if (!isFirst) return r.waveformId;
    const auto found = partners.find(r.waveformId);
    return found == partners.end() ? kNoItem : found->second;
  };
  const Key<Region> keys[] = {
      [&](const Region& r, bool isFirst) {
        return mixed(mixed(ranges(r), waveform(r, isFirst)), effective(r).hash());
      },
      [&](const Region& r, bool isFirst) { return mixed(ranges(r), waveform(r, isFirst)); },
      [&](const Region& r, bool) { return ranges(r); },
      [&](const Region& r, bool isFirst) { return waveform(r, isFirst); },
      inOrder<Region>,
  };
  const std::vector<Region*> inFirst = regionsOf(first), inSecond = regionsOf(second);
  const std::vector<const Region*> a(inFirst.begin(), inFirst.end()), b(inSecond.begin(), inSecond.end());
  return matchInPasses<Region>(a, b, keys);
}

}  // namespace vemko::compare
