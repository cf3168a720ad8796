#include <algorithm>
#include <cstring>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/parallel_for.h"
#include "base/text.h"
#include "io/fixup.h"
#include "io/fixup/content_reader.h"
#include "io/fixup/region_links.h"
#include "io/fixup/same_waveform.h"

namespace vemko::io {
namespace {

/// What is kept or goes as a whole: a waveform, or both sides of a pair.
struct Unit {
  Waveform* first;
  Waveform* second = nullptr;
  std::uint64_t digest = 0;  // of what is known so far: of unequal units mostly unequal
  bool readable = true;
};

bool isAlike(const Waveform& a, const Waveform& b) {
  if (a.channels != b.channels || ContentReader::formOf(a) != ContentReader::formOf(b) || !playsAlike(a, b))
    return false;
  for (TextProperty property : kTextProperties)
    if (property != TextProperty::Name && property != TextProperty::Image &&
        a.text(property) != b.text(property))
      return false;
  return std::ranges::equal(a.image(), b.image());
}

bool isAlike(const Unit& a, const Unit& b) {
  if ((a.second != nullptr) != (b.second != nullptr)) return false;
  return isAlike(*a.first, *b.first) && (!a.second || isAlike(*a.second, *b.second));
}

// --- Samples

std::uint64_t mixed(std::uint64_t digest, Bytes bytes) {
  std::uint64_t word = bytes.size();
  for (std::size_t at = 0; at <= bytes.size(); at += sizeof word) {
    digest = (digest ^ word) * 0x9E3779B97F4A7C15u;
    digest ^= digest >> 29;
    word = 0;
    std::memcpy(&word, bytes.data() + at, std::min(sizeof word, bytes.size() - at));
  }
  return digest;
}

/// Takes the samples, or only the first block of them, into the digest.
bool digestSamples(const Waveform& waveform, bool onlyHead, std::uint64_t& digest) {
  ContentReader reader(waveform);
  do {
    const auto block = reader.next();
    if (!block) return false;
    if (block->empty()) return true;
    digest = mixed(digest, *block);
  } while (!onlyHead);
  return true;
}

bool hasSameSamples(const Waveform& a, const Waveform& b) {
  ContentReader readA(a), readB(b);
  for (;;) {
    const auto blockA = readA.next(), blockB = readB.next();
    if (!blockA || !blockB || blockA->size() != blockB->size()) return false;
    if (blockA->empty()) return true;
    if (std::memcmp(blockA->data(), blockB->data(), blockA->size()) != 0) return false;
  }
}

bool hasSameSamples(const Unit& a, const Unit& b) {
  return hasSameSamples(*a.first, *b.first) && (!a.second || hasSameSamples(*a.second, *b.second));
}

// --- Candidates

std::vector<Unit> collectUnits(const Collection& collection) {
  std::vector<Unit> units;
  collection.forEach<Waveform>([&](Waveform& waveform) {
    Waveform* const other = pairedSide(waveform);
    if (other && waveform.side == StereoSide::Right) return;
    Unit unit{&waveform, other};
    unit.digest =
        hashOfPlayback(waveform) * 31 + waveform.channels + (other ? hashOfPlayback(*other) * 7 : 0);
    units.push_back(unit);
  });
  return units;
}

/// Leaves the units, in their order, whose digest some other one shares.
void keepShared(std::vector<Unit>& units) {
  std::unordered_map<std::uint64_t, std::size_t> counts;
  for (const Unit& unit : units) ++counts[unit.digest];
  std::erase_if(units, [&](const Unit& unit) { return !unit.readable || counts[unit.digest] < 2; });
}

void digestAll(std::vector<Unit>& units, bool onlyHead) {
  parallelFor(units.size(), [&](std::size_t index) {
    Unit& unit = units[index];
    try {
      unit.readable = digestSamples(*unit.first, onlyHead, unit.digest) &&
                      (!unit.second || digestSamples(*unit.second, onlyHead, unit.digest));
    } catch (const std::bad_alloc&) {
      unit.readable = false;
    }
    return true;
  });
}

// --- Replacing

using Replacements = std::unordered_map<ItemId, ItemId>;

Replacements findReplacements(const std::vector<Unit>& units) {
  Replacements replacements;
  std::unordered_map<std::uint64_t, const Unit*> kept;
  for (const Unit& unit : units) {
    const auto [known, isFirst] = kept.try_emplace(unit.digest, &unit);
    const Unit& first = *known->second;
    if (isFirst || !isAlike(first, unit) || !hasSameSamples(first, unit)) continue;
    replacements[unit.first->id()] = first.first->id();
    if (unit.second) replacements[unit.second->id()] = first.second->id();
  }
  return replacements;
}

void replace(Collection& collection, const Replacements& replacements) {
  auto follow = [&](ItemId& id) {
    if (const auto found = replacements.find(id); found != replacements.end()) id = found->second;
  };
  collection.forEach<Region>([&](Region& region) { follow(region.waveformId); });
  collection.forEach<Waveform>([&](Waveform& waveform) { follow(waveform.pairedWith); });
  std::vector<Item*> removed;
  for (const auto& [id, kept] : replacements) removed.push_back(collection.find(id));
  collection.remove(removed);
}

}  // namespace

// Of waveforms that are equal in all but their names - length, channels, rate, tuning, volume, records,
// texts, image and every sample - the first stays and is played by the regions of the others. Both sides of a
// pair are equal to both sides of another, or the pair stays. Only samples of waveforms that look equal are
// read, first the beginnings, block by block; one that cannot be read stays.
bool removeDuplicateWaves(Collection& collection) {
  std::vector<Unit> units = collectUnits(collection);
  keepShared(units);
  for (bool onlyHead : {true, false}) {
    digestAll(units, onlyHead);
    keepShared(units);
  }
  if (const Replacements replacements = findReplacements(units); !replacements.empty())
    replace(collection, replacements);
  return true;
}

}  // namespace vemko::io
