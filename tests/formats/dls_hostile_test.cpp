// Collections that are damaged, cut off or made to hurt.
#include <chrono>
#include <random>

#include "core/parameters.h"
#include "formats/dls_support.h"
#include "formats/soundfont_support.h"
#include "io/open.h"
#include "io/samples.h"

namespace vemko::test {
namespace {

// Where the body of the first chunk of that id begins; the last one where `last` is set.
std::size_t bodyOf(const Block& bytes, std::string_view id, bool last = false) {
  const Bytes wanted = asBytes(id), all(bytes);
  const auto found = last ? std::find_end(all.begin(), all.end(), wanted.begin(), wanted.end())
                          : std::search(all.begin(), all.end(), wanted.begin(), wanted.end());
  return static_cast<std::size_t>(found - all.begin()) + 8;
}

template <class T>
Block patched(Block bytes, std::size_t at, T value) {
  std::memcpy(bytes.data() + at, &value, sizeof value);
  return bytes;
}
Block sized(const Block& bytes, std::string_view id, std::uint32_t size) {
  return patched(bytes, bodyOf(bytes, id) - 4, size);
}
Block renamed(const Block& bytes, std::string_view id) {
  return patched(bytes, bodyOf(bytes, id) - 8, 0x78787878);
}
// For lists, whose type stands where other chunks have their id.
Block retyped(const Block& bytes, std::string_view type) { return renamed(bytes, type); }

DlsFile twoRegions() {
  DlsFile file;
  file.waves = {{}, {}};
  file.waves[1].name = "Second";
  DlsInstrument& instrument = file.instruments[0];
  instrument.connections = {{connection(0, 0, 0x206, 0, 0), connection(0, 0, 4, 0, 100)}};
  instrument.regions = {{}, {}};
  instrument.regions[0].sample = SampleChunk{60, 0, 0, 0, SampleChunk::Loop{0, 10, 50}};
  instrument.regions[1].link.cue = 1;
  instrument.regions[1].connections = {{connection(0, 0, 0x500, 0, 6900)}};
  return file;
}

// Everything that is there can be tidied, loaded and written again.
void expectUsable(Collection& collection) {
  io::fixUp(collection, io::kAllKinds, false);
  for (Waveform* waveform : collection.all<Waveform>()) {
    ASSERT_TRUE(io::loadSamples(*waveform, true)) << toUtf8(lastError());
    if (const LoopRecord* loop = waveform->mainLoop()) {
      EXPECT_LT(loop->start, loop->end);
      EXPECT_LE(loop->end, waveform->frames);
    }
  }
  for (const Region* region : collection.all<Region>())
    effective(*region).forEach([](Slot, float value) { EXPECT_TRUE(std::isfinite(value)); });
  if (collection.count(ItemKind::Waveform) == 0 && collection.count(ItemKind::Region) == 0) return;
  for (std::uint32_t level : {1u, 2u, 4u}) {
    ReadDls again(savedAs(collection, level));
    EXPECT_TRUE(again.ok) << toUtf8(lastError());
  }
}

std::string contentsOf(const Collection& collection) {
  std::size_t playing = 0;
  for (const Region* region : collection.all<Region>()) playing += region->waveform() ? 1 : 0;
  return std::to_string(collection.count(ItemKind::Region)) + " regions, " + std::to_string(playing) +
         " playing, " + std::to_string(collection.count(ItemKind::Waveform)) + " waveforms";
}

struct HostileCase {
  const char* name;
  Block bytes;
  std::string expected;  // the error, or what there is
  const char* log = "";
};

TEST(DlsReader, AnswersBadFilesWithAMessageOrWhatIsThere) {
  const DlsFile file = twoRegions();
  const Block good = bytesOf(file);
  const std::string whole = "2 regions, 2 playing, 2 waveforms";
  auto with = [&](void (*change)(DlsFile&)) {
    DlsFile changed = file;
    change(changed);
    return bytesOf(changed);
  };
  const HostileCase cases[] = {
      {"good", good, whole},
      {"nothing", {}, "Not a RIFF DLS file"},
      {"header", Block(good.begin(), good.begin() + 12), "0 regions, 0 playing, 0 waveforms",
       "Missing waves"},
      {"another form", renamed(good, "RIFF"), "Not a RIFF DLS file"},
      {"a SoundFont", patched(good, 8, fourCc("sfbk")), "Not a RIFF DLS file"},
      {"size 0", patched(good, 4, 0u), whole},
      {"size huge", patched(good, 4, 0xFFFFFFFFu), whole},
      {"no colh", renamed(good, "colh"), whole},
      {"no lins", retyped(good, "lins"), "0 regions, 0 playing, 2 waveforms"},
      {"no ptbl", renamed(good, "ptbl"), whole, "Mandatory 'ptbl' chunk is missing"},
      {"no wvpl", retyped(good, "wvpl"), "2 regions, 0 playing, 0 waveforms", "Missing waves"},
      {"ptbl count 2^32-1", patched(good, bodyOf(good, "ptbl") + 4, 0xFFFFFFFFu), whole, "Missing cues"},
      {"ptbl count 2^30", patched(good, bodyOf(good, "ptbl") + 4, 1u << 30), whole, "Missing cues"},
      {"ptbl header huge", patched(good, bodyOf(good, "ptbl"), 0xFFFFFFF8u),
       "2 regions, 0 playing, 2 waveforms", "Missing cues"},
      {"ptbl of 4 bytes", sized(good, "ptbl", 4), "2 regions, 0 playing, 0 waveforms", "Missing cues"},
      {"pool offset past the pool", patched(good, bodyOf(good, "ptbl") + 12, 0xFFFFFF00u),
       "2 regions, 1 playing, 2 waveforms", "Missing waves"},
      {"pool offset into a wave", patched(good, bodyOf(good, "ptbl") + 12, 3u),
       "2 regions, 1 playing, 2 waveforms", "Missing waves"},
      {"wlnk out of range", with([](DlsFile& f) { f.instruments[0].regions[0].link.cue = 2; }),
       "2 regions, 1 playing, 2 waveforms", "Missing cues"},
      {"wlnk 2^32-1", with([](DlsFile& f) { f.instruments[0].regions[0].link.cue = dls::kNoCue; }),
       "2 regions, 1 playing, 2 waveforms", "Missing cues"},
      {"wlnk of 4 bytes", sized(good, "wlnk", 4), "2 regions, 1 playing, 2 waveforms"},
      {"no rgnh", renamed(good, "rgnh"), whole},
      {"rgnh of 4 bytes", sized(good, "rgnh", 4), whole, "A region's header is too short"},
      {"keys turned round", with([](DlsFile& f) {
         f.instruments[0].regions[0].keys = {90, 20};
       }),
       whole, "turned round"},
      {"keys above 127", patched(good, bodyOf(good, "rgnh"), std::uint16_t{65535}), whole},
      {"0 channels", with([](DlsFile& f) { f.waves[0].channels = 0; }), whole, "A wave cannot be read"},
      {"65535 channels", with([](DlsFile& f) { f.waves[0].channels = 65535; }), whole,
       "A wave cannot be read"},
      {"block align 0", patched(good, bodyOf(good, "fmt ") + 12, std::uint16_t{0}), whole},
      {"0 bits", patched(good, bodyOf(good, "fmt ") + 14, std::uint16_t{0}), whole},
      {"rate 0", with([](DlsFile& f) { f.waves[0].rate = 0; }), whole},
      {"no fmt", renamed(good, "fmt "), whole, "A wave cannot be read"},
      {"fmt of 3 bytes", sized(good, "fmt ", 3), whole},
      {"no data", renamed(good, "data"), whole, "A wave cannot be read"},
      {"data huge", sized(good, "data", 0xFFFFFFF8u), whole, "claims more samples"},
      {"data 80000000", sized(good, "data", 0x80000000u), whole, "claims more samples"},
      {"wsmp of 8 bytes", sized(good, "wsmp", 8), "2 regions, 1 playing, 2 waveforms",
       "wave sample chunk is too short"},
      {"wsmp header huge", patched(good, bodyOf(good, "wsmp"), 0xFFFFFFF0u), whole},
      {"loop count 2^32-1", patched(good, bodyOf(good, "wsmp") + 16, 0xFFFFFFFFu), whole},
      {"loop past the end", patched(good, bodyOf(good, "wsmp") + 32, 0xFFFFFFF0u), whole,
       "A loop reaches behind the data"},
      {"loop start past the end", patched(good, bodyOf(good, "wsmp") + 28, 0xFFFFFFF0u), whole,
       "A loop reaches behind the data"},
      {"unity note 300", patched(good, bodyOf(good, "wsmp") + 4, std::uint16_t{300}), whole,
       "unity note above 127"},
      {"connection count wraps", patched(good, bodyOf(good, "art2") + 4, 0x15555556u), whole},
      {"connection count 2^32-1", patched(good, bodyOf(good, "art2", true) + 4, 0xFFFFFFFFu), whole},
      {"connection header huge", patched(good, bodyOf(good, "art2"), 0xFFFFFFFFu), whole},
      {"scale of the lowest number", patched(good, bodyOf(good, "art2") + 16, INT32_MIN), whole},
      {"scale of the highest number", patched(good, bodyOf(good, "art2") + 16, INT32_MAX), whole},
      {"list size FFFFFFF8", sized(good, "LIST", 0xFFFFFFF8u), "2 regions, 0 playing, 0 waveforms"},
      {"cut at half", Block(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2)),
       "2 regions, 1 playing, 1 waveforms"},
  };
  for (const HostileCase& each : cases) {
    SCOPED_TRACE(each.name);
    DlsLog log;
    ReadDls read(each.bytes);
    if (!read.ok) {
      EXPECT_EQ(toUtf8(lastError()), each.expected);
      continue;
    }
    EXPECT_EQ(contentsOf(read.collection), each.expected);
    expectUsable(read.collection);
    EXPECT_NE(log.all().find(each.log), std::string::npos) << log.all();
  }
}

TEST(DlsReader, ExtremeScalesGiveUsableSlots) {
  for (std::int32_t scale : {INT32_MIN, INT32_MIN + 1, -1, 1, INT32_MAX - 1, INT32_MAX}) {
    std::vector<Connection> list;
    for (const int to : {1,     3,     4,     0x80,  0x81,  0x104, 0x105, 0x114, 0x115, 0x206, 0x207, 0x209,
                         0x20A, 0x20B, 0x20C, 0x20D, 0x30A, 0x30B, 0x30D, 0x30E, 0x30F, 0x310, 0x500, 0x501})
      for (const int from : {0, 1, 2, 3, 5, 9})
        if (list.size() < 128)
          list.push_back({static_cast<std::uint16_t>(from), 0, static_cast<std::uint16_t>(to), 0, scale});
    ReadDls read(simpleFile(list));
    ASSERT_TRUE(read.ok);
    expectUsable(read.collection);
  }
}

TEST(DlsReader, DeepAndHugeListsTakeNoTime) {
  ByteWriter deep;
  for (int i = 0; i < 3000; ++i) {
    deep.u32(fourCc("LIST"));
    deep.u32(0xFFFFFFF8);
    deep.u32(fourCc("lins"));
  }
  Block nested = bytesOf(DlsFile{});
  nested.insert(nested.begin() + 12, deep.bytes.begin(), deep.bytes.end());
  DlsFile many;
  many.instruments[0].regions.assign(50000, {});
  many.instruments[0].connections = std::vector<Connection>(128, connection(0, 0, 0x206, 0, 0));
  DlsFile looping = many;
  for (std::size_t i = 0; i < 20000; ++i)
    looping.instruments[0].regions[i].sample =
        SampleChunk{60, 0, 0, 0, SampleChunk::Loop{0, static_cast<std::uint32_t>(i % 90), 5}};
  DlsFile connected;
  connected.instruments[0].connections = std::vector<Connection>(200'000, connection(0, 0, 0x206, 0, 0));
  const struct {
    const char* name;
    Block bytes;
    std::size_t regions;
  } cases[] = {{"3000 lists deep", nested, 0},
               {"50000 regions", bytesOf(many), 50000},
               {"20000 loops of one wave", bytesOf(looping), 50000},
               {"200000 connections", bytesOf(connected), 1}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    const auto start = std::chrono::steady_clock::now();
    ReadDls read(each.bytes);
    ASSERT_TRUE(read.ok);
    EXPECT_EQ(read.regions().size(), each.regions);
    // A second in a release build; checked builds are slower.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  }
}

TEST(DlsReader, ContentDecidesNotTheName) {
  const struct {
    const char *name, *row;
    Block bytes;
  } cases[] = {{"bank.dls", "SoundFont v2 bank", bytesOf(simpleBank())},
               {"collection.sf2", "DownLoadable Sounds", bytesOf(DlsFile{})}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    TempFolder folder;
    putFile(folder / each.name, each.bytes);
    Collection collection;
    ASSERT_TRUE(io::openFile(collection, folder / each.name, false)) << toUtf8(lastError());
    EXPECT_EQ(toUtf8(io::descriptionOf(collection.formatRow)), each.row);
    EXPECT_EQ(collection.count(ItemKind::Region), 1u);
  }
}

TEST(DlsReader, SurvivesCutsAndFlippedBits) {
  const Block good = bytesOf(twoRegions());
  TempFolder folder;
  auto readBytes = [&](const Block& bytes) {
    putFile(folder / "in.dls", bytes);
    InputFile input;
    Collection collection;
    if (!input.open(folder / "in.dls") || !dls::readCollection(collection, input, 0)) return;
    io::fixUp(collection, io::kAllKinds, false);
    for (Waveform* waveform : collection.all<Waveform>())
      if (waveform->frames < 100000) io::loadSamples(*waveform, true);
    io::SaveOptions options;
    options.variant = bytes.size() % 2 + 1;
    OutputFile file;
    if (file.create(folder / "out.dls")) dls::writeCollection(collection, file, options);
  };
  for (std::size_t length = 0; length < good.size(); ++length)
    readBytes(Block(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
  std::mt19937 random(33);
  for (int i = 0; i < 1000; ++i) {
    Block bad = good;
    for (int flips = 1 + i % 4; flips > 0; --flips)
      bad[random() % bad.size()] ^= std::byte{1} << random() % 8;
    readBytes(bad);
  }
}

}  // namespace
}  // namespace vemko::test
