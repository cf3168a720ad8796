// Banks that are damaged, cut off or made to hurt.
#include <chrono>
#include <random>

#include "formats/soundfont/sf_zones.h"
#include "formats/soundfont_support.h"
#include "io/file_names.h"

namespace vemko::test {
namespace {

// Where the body of the first chunk of that id begins.
std::size_t bodyOf(const Block& bytes, std::string_view id) {
  const Bytes wanted = asBytes(id);
  const auto found = std::search(bytes.begin(), bytes.end(), wanted.begin(), wanted.end());
  return static_cast<std::size_t>(found - bytes.begin()) + 8;
}

template <class T>
Block patched(Block bytes, std::size_t at, T value) {
  std::memcpy(bytes.data() + at, &value, sizeof value);
  return bytes;
}
Block sized(const Block& bytes, std::string_view id, std::uint32_t size) {
  return patched(bytes, bodyOf(bytes, id) - 4, size);
}
// Without the last record of a table.
Block shortened(const Block& bytes, std::string_view id, std::uint32_t recordBytes) {
  const std::size_t body = bodyOf(bytes, id), list = bodyOf(bytes, "pdta") - 8;
  auto sizeAt = [&](std::size_t at) { return ByteReader(Bytes(bytes).subspan(at)).u32(); };
  Block shorter = patched(patched(bytes, list - 4, sizeAt(list - 4) - recordBytes), body - 4,
                          sizeAt(body - 4) - recordBytes);
  const auto end = shorter.begin() + static_cast<std::ptrdiff_t>(body + sizeAt(body - 4));
  shorter.erase(end - recordBytes, end);
  return shorter;
}
Block renamed(const Block& bytes, std::string_view id) {
  return patched(bytes, bodyOf(bytes, id) - 8, 0x78787878);
}

// Two zones, two samples, one of them with a loop.
Bank twoZones() {
  Bank bank = simpleBank({range(gen::KeyRange, 0, 59)});
  bank.instruments[0].zones.push_back({{range(gen::KeyRange, 60, 127), amount(gen::Sample, 1)}, {}});
  bank.samples = {{"A"}, {"B"}};
  bank.samples[1].points[0] = 5;
  return bank;
}

// "2 regions, 2 waveforms" or the message.
std::string outcomeOf(const ReadBank& read) {
  if (!read.ok) return toUtf8(lastError());
  return formatted("%zu regions, %zu waveforms", read.collection.count(ItemKind::Region),
                   read.collection.count(ItemKind::Waveform));
}

struct HostileCase {
  const char* name;
  Block bytes;
  const char* expected;
  const char* logged = "";
};

// Whatever came of it can be tidied up and written, and what is written is read again.
void expectUsable(Collection& collection) {
  io::fixUp(collection, io::kAllKinds, false);
  for (const Waveform* waveform : collection.all<Waveform>()) {
    const auto stream = openSamples(*waveform);
    ASSERT_TRUE(stream) << toUtf8(lastError());
    std::vector<float> samples(waveform->frames * std::size_t{waveform->channels});
    EXPECT_EQ(stream->read(samples), waveform->frames);
    if (const LoopRecord* loop = waveform->mainLoop()) {
      EXPECT_LT(loop->start, loop->end);
      EXPECT_LE(loop->end, waveform->frames);
    }
  }
  if (collection.count(ItemKind::Waveform) + collection.count(ItemKind::Instrument) == 0) return;
  ReadBank again(bytesOfSaved(collection));
  EXPECT_TRUE(again.ok) << toUtf8(lastError());
  EXPECT_LE(again.collection.count(ItemKind::Region), collection.count(ItemKind::Region) * 2);
}

TEST(SoundFontReader, AnswersBadFilesWithAMessageOrWhatIsThere) {
  const Bank bank = twoZones();
  const Block good = bytesOf(bank);
  auto with = [&](void (*change)(Bank&)) {
    Bank changed = bank;
    change(changed);
    return bytesOf(changed);
  };
  auto header = [&](int sample, int field, std::uint32_t value) {  // fields: 20 start, 24 end, ...
    return patched(good, bodyOf(good, "shdr") + static_cast<std::size_t>(sample * 46 + field), value);
  };
  Block withoutPad;  // an odd INFO text whose pad byte is missing
  {
    const Block odd = with([](Bank& b) { b.info = {{"INAM", "Bank"}, {"ICMT", "abc"}}; });
    const std::size_t at = bodyOf(odd, "ICMT");
    withoutPad = patched(odd, at - 4, std::uint32_t{3});
    withoutPad.erase(withoutPad.begin() + static_cast<std::ptrdiff_t>(at) + 3);
    withoutPad = patched(withoutPad, 16, ByteReader(Bytes(odd).subspan(16)).u32() - 1);
  }
  Block oddSamples = good;  // a byte more in the samples, and no pad byte
  {
    const std::size_t at = bodyOf(good, "smpl"), size = ByteReader(Bytes(good).subspan(at - 4)).u32();
    oddSamples.insert(oddSamples.begin() + static_cast<std::ptrdiff_t>(at + size), std::byte{0});
    oddSamples = sized(oddSamples, "smpl", static_cast<std::uint32_t>(size + 1));
    oddSamples = patched(oddSamples, at - 16, static_cast<std::uint32_t>(size + 13));
  }
  constexpr const char* kWhole = "2 regions, 2 waveforms";
  const HostileCase cases[] = {
      {"good", good, kWhole},
      {"nothing", {}, "Not a SoundFont2 file"},
      {"header", Block(good.begin(), good.begin() + 12), "Not a Sound Font v2.x file"},
      {"other form", renamed(good, "RIFF"), "Not a SoundFont2 file"},
      {"packed", with([](Bank& b) { b.form = "sfpk"; }), kWhole},
      {"version 1", with([](Bank& b) { b.major = 1; }), "Not a Sound Font v2.x file"},
      {"version 4", with([](Bank& b) { b.major = 4; }), "Not a Sound Font v2.x file"},
      {"no ifil", renamed(good, "ifil"), "Not a Sound Font v2.x file"},
      {"cut in the samples", Block(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2)),
       "Not a SoundFont2 file"},
      {"cut in the tables",
       Block(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(bodyOf(good, "inst"))),
       "0 regions, 0 waveforms"},
      {"no INFO", patched(good, bodyOf(good, "INFO") - 8, std::uint32_t{0}), "Not a Sound Font v2.x file"},
      {"no pdta", patched(good, bodyOf(good, "pdta") - 8, std::uint32_t{0}), "Not a SoundFont2 file"},
      {"no shdr", renamed(good, "shdr"), "2 regions, 0 waveforms", "sample is missing"},
      {"no phdr", renamed(good, "phdr"), "0 regions, 2 waveforms"},
      {"no inst", renamed(good, "inst"), "0 regions, 2 waveforms", "names an instrument that is not there"},
      {"no smpl", renamed(good, "smpl"), kWhole, "A sample ends outside"},
      {"no igen", renamed(good, "igen"), "0 regions, 2 waveforms"},
      {"RIFF size huge", patched(good, 4, std::uint32_t{0xFFFFFFFE}), kWhole},
      {"RIFF size 0", patched(good, 4, std::uint32_t{0}), kWhole},
      {"smpl huge", sized(good, "smpl", 0xFFFFFFFF), kWhole, "sample data claim more"},
      {"smpl short", sized(good, "smpl", 220), kWhole, "A sample lies outside"},
      {"shdr not a multiple", sized(good, "shdr", 46 * 2 + 10), kWhole, "not a multiple"},
      {"no EOS", shortened(good, "shdr", 46), kWhole, "no terminal record"},
      {"EOS without its name", patched(good, bodyOf(good, "shdr") + 92, std::uint32_t{0}), kWhole,
       "no terminal record"},
      {"no EOP", shortened(good, "phdr", 38), kWhole, "no terminal record"},
      {"no EOI", shortened(good, "inst", 22), kWhole, "no terminal record"},
      {"no terminal bags", shortened(shortened(good, "pbag", 4), "ibag", 4), kWhole},
      {"no terminal generators", shortened(shortened(good, "pgen", 4), "igen", 4), kWhole},
      {"pad byte missing", withoutPad, kWhole},
      {"pad byte of the samples missing", oddSamples, kWhole},
      {"preset's bag past the table", patched(good, bodyOf(good, "phdr") + 24, std::uint16_t{9000}),
       "0 regions, 2 waveforms", "out of order"},
      {"instrument's bags descend", patched(good, bodyOf(good, "inst") + 20, std::uint16_t{1}),
       "1 regions, 2 waveforms"},
      {"generator index past the table", patched(good, bodyOf(good, "ibag") + 4, std::uint16_t{60000}),
       "1 regions, 2 waveforms", "out of order"},
      {"modulator index descends", patched(good, bodyOf(good, "ibag") + 2, std::uint16_t{3}), kWhole,
       "out of order"},
      {"instrument 65535", patched(good, bodyOf(good, "pgen") + 2, std::uint16_t{65535}),
       "0 regions, 2 waveforms", "names an instrument that is not there"},
      {"sample 65535", patched(good, bodyOf(good, "igen") + 6, std::uint16_t{65535}),
       "2 regions, 2 waveforms", "sample is missing"},
      {"zone without sample", patched(good, bodyOf(good, "igen") + 12, std::uint16_t{17}),
       "1 regions, 2 waveforms", "without instrument or sample"},
      {"unknown generator", patched(good, bodyOf(good, "igen"), std::uint16_t{200}), kWhole,
       "An unknown generator"},
      {"range upside down", patched(good, bodyOf(good, "igen") + 2, std::uint16_t{0x0140}),
       "1 regions, 2 waveforms"},
      {"range beyond 127", patched(good, bodyOf(good, "igen") + 2, std::uint16_t{0xFF00}), kWhole,
       "beyond 127"},
      {"start behind end", header(0, 20, 101), kWhole, "A sample lies outside"},
      {"start near 2^32", header(0, 20, 0xFFFFFFF0), kWhole, "A sample lies outside"},
      {"end near 2^32", header(0, 24, 0xFFFFFFFF), kWhole, "A sample ends outside"},
      {"loop near 2^32", header(0, 28, 0xFFFFFFFF), kWhole},
      {"loop end before start", header(0, 32, 5), kWhole},
      {"rate 0", header(0, 36, 0), kWhole},
      {"rate 2^32-1", header(0, 36, 0xFFFFFFFF), kWhole},
      {"linked to itself", patched(good, bodyOf(good, "shdr") + 42, std::uint32_t{0x00040000}), kWhole,
       "no other side"},
      {"linked to 65535", patched(good, bodyOf(good, "shdr") + 42, std::uint32_t{0x0002FFFF}), kWhole},
      {"offsets of -32768", with([](Bank& b) {
         for (int number : {0, 1, 2, 3, 4, 12, 45, 50})
           b.instruments[0].zones[0].generators.insert(b.instruments[0].zones[0].generators.begin(),
                                                       amount(number, -32768));
       }),
       kWhole},
      {"offsets of 32767", with([](Bank& b) {
         for (int number : {0, 1, 2, 3, 4, 12, 45, 50})
           b.instruments[0].zones[0].generators.insert(b.instruments[0].zones[0].generators.begin(),
                                                       amount(number, 32767));
       }),
       kWhole},
      {"all amounts at their ends", with([](Bank& b) {
         for (int number = 0; number < 61; ++number)
           if (soundfont::isValueGenerator(number))
             b.instruments[0].zones[0].generators.insert(b.instruments[0].zones[0].generators.begin(),
                                                         amount(number, number % 2 ? 32767 : -32768));
       }),
       kWhole},
      {"modulators of modulators", with([](Bank& b) {
         b.instruments[0].zones[0].modulators = {route(127, 48, 1), route(2, 0x8001, 1),
                                                 route(0xFFFF, 0x7FFF, -1)};
       }),
       kWhole, "Modulators of modulators"},
      {"names without end", with([](Bank& b) {
         b.presets[0].name = b.instruments[0].name = b.samples[0].name = std::string(20, '\xFF');
       }),
       kWhole},
  };
  for (const HostileCase& c : cases) {
    SCOPED_TRACE(c.name);
    LogCatcher log;
    ReadBank read(c.bytes);
    EXPECT_EQ(outcomeOf(read), c.expected);
    EXPECT_TRUE(*c.logged == 0 || log.contains(c.logged)) << testing::PrintToString(log.lines);
    EXPECT_LE(log.lines.size(), 10u);
    expectUsable(read.collection);
  }
}

TEST(SoundFontReader, RefusesBombs) {
  struct Case {
    const char* name;
    Bank bank;
  };
  // Each zone of the preset with each of the instrument.
  Bank product = simpleBank();
  product.presets[0].zones.resize(3000, {{amount(gen::Instrument, 0)}, {}});
  product.instruments[0].zones.resize(3000, {{amount(gen::Sample, 0)}, {}});
  // The same without a region: ranges that never meet.
  Bank apart = simpleBank();
  apart.presets[0].zones.resize(20000, {{range(gen::KeyRange, 0, 1), amount(gen::Instrument, 0)}, {}});
  apart.instruments[0].zones.resize(20000, {{range(gen::KeyRange, 2, 3), amount(gen::Sample, 0)}, {}});
  // A global zone that is copied to each of many.
  Bank global = simpleBank();
  global.instruments[0].zones.assign(1, {{}, {}});
  for (int i = 0; i < 500; ++i) global.instruments[0].zones[0].modulators.push_back(route(i, 8, i));
  global.instruments[0].zones.resize(60000, {{amount(gen::Sample, 0)}, {}});
  // Modulators to be compared with each other.
  Bank modulators = simpleBank();
  for (int i = 0; i < 500; ++i) {
    modulators.presets[0].zones[0].modulators.push_back(route(i, 8, i));
    modulators.instruments[0].zones[0].modulators.push_back(route(i, 9, i));
  }
  modulators.instruments[0].zones.resize(100, modulators.instruments[0].zones[0]);
  modulators.presets[0].zones.resize(100, modulators.presets[0].zones[0]);
  const Case cases[] = {
      {"product", product}, {"apart", apart}, {"global", global}, {"modulators", modulators}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto start = std::chrono::steady_clock::now();
    ReadBank read(c.bank);
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(lastError(), u"Not a SoundFont2 file");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << "with sanitizers";
  }
}

TEST(SoundFontReader, TakesZonesThatAreFoldedOverEachOther) {
  Bank bank = simpleBank();
  bank.presets.resize(500, bank.presets[0]);
  Block bytes = bytesOf(bank);
  const std::size_t headers = bodyOf(bytes, "phdr");
  for (std::size_t i = 0; i < 500; ++i)
    bytes =
        patched(std::move(bytes), headers + i * 38 + 24, static_cast<std::uint16_t>(i % 2 == 0 ? 0 : 500));
  ReadBank read(bytes);
  EXPECT_FALSE(read.ok);
  EXPECT_EQ(lastError(), u"Not a SoundFont2 file");
}

TEST(SoundFontReader, KeepsNamesSafeForFiles) {
  for (const char* name : {"../../etc/x", "CON", "a\nb", "<region>", ""}) {
    SCOPED_TRACE(name);
    Bank bank = twoZones();
    bank.samples[0].name = bank.samples[1].name = name;
    ReadBank read(bank);
    ASSERT_TRUE(read.ok);
    io::fixUp(read.collection, io::kAllKinds, false);
    const auto waveforms = read.collection.all<Waveform>();
    ASSERT_EQ(waveforms.size(), 2u);
    for (const Waveform* waveform : waveforms) {
      const Path file = io::autoFileName(u"", waveform->displayName(), u"wav");
      EXPECT_EQ(file.filename(), file);
    }
    expectUsable(read.collection);
  }
}

TEST(SoundFontReader, SurvivesCutsAndFlips) {
  Bank bank = twoZones();
  for (BankSample& sample : bank.samples) sample.points.resize(20);
  bank.presets[0].zones[0].modulators = {route(0x502, 48, 10)};
  bank.instruments[0].zones[0].modulators = {route(0x102, 8, -2400), route(0x81, 6, 10)};
  bank.minor = 4;
  bank.lowBytes.assign(132, 7);
  const Block good = bytesOf(bank);
  LogCatcher log;
  for (std::size_t size = 0; size < good.size(); ++size) {
    ReadBank read(Block(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)));
    if (read.ok && size % 32 == 0) expectUsable(read.collection);
  }
  std::mt19937 random(3);
  for (int round = 0; round < 1000; ++round) {
    Block bytes = good;
    for (int flips = 1 + round % 4; flips > 0; --flips)
      bytes[random() % bytes.size()] = static_cast<std::byte>(random());
    ReadBank read(bytes);
    if (read.ok && round % 16 == 0) expectUsable(read.collection);
  }
}

}  // namespace
}  // namespace vemko::test
