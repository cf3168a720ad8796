// Files of every row through independent programs, both ways: what we write they read, what they write we
// read. With a folder of real files in VEMKO_CORPUS some of these are used too.
#include <cstdio>
#include <gtest/gtest.h>

#include "formats/audio_support.h"

namespace vemko::test {
namespace {

constexpr double kExact = 1000;

struct ProgramCase {
  const char* extension;
  std::u16string_view description;  // of the row that writes
  SampleEncoding encoding;
  double decibels;  // at least; kExact: sample for sample
  // Commands with IN and OUT, one of which is a WAVE file; their first word is the program.
  const char *decode, *encode;
  std::uint32_t rate = 44100;
  unsigned mostChannels = 2;
};
using enum SampleEncoding;
// clang-format off
constexpr ProgramCase kCases[] = {
  {"flac", u"Free lossless audio codec (default)",  Pcm16,   kExact, "flac -s -d -f -o OUT IN",             "flac -s -f -o OUT IN"},
  {"flac", u"Free lossless audio codec (max comp)", Pcm16,   kExact, "ffmpeg -i IN OUT",                    "ffmpeg -i IN OUT"},
  {"ogg",  u"Ogg Vorbis",                           Codec,   30,     "oggdec -Q -o OUT IN",                 "oggenc -Q -q 9 -o OUT IN"},
  {"opus", u"Opus",                                 Codec,   15,     "opusdec --quiet IN OUT",              "opusenc --quiet --bitrate 192 IN OUT", 48000},
  {"mp3",  u"MPEG layer III - CBR",                 Codec,   25,     "lame --silent --decode IN OUT",       "lame --silent -b 320 IN OUT"},
  {"mp3",  u"MPEG layer III - ABR",                 Codec,   25,     "mpg123 -q -w OUT IN",                 "lame --silent --abr 256 IN OUT"},
  {"mp3",  u"MPEG layer III - VBR",                 Codec,   15,     "ffmpeg -i IN OUT",                    "lame --silent -V 0 IN OUT"},
  {"wv",   u"WavPack",                              Pcm16,   kExact, "wvunpack -q -y IN -o OUT",            "wavpack -q -y IN -o OUT"},
  {"wv",   u"WavPack",                              Float32, kExact, "ffmpeg -i IN -c:a pcm_f32le OUT",     "wavpack -q -y -hh IN -o OUT"},
  {"gsm",  u"Raw GSM 06.10",                        Gsm610,  5,      "sox IN OUT",                          "sox IN OUT", 8000, 1},
  {"wav",  u"Microsoft wave",                       Gsm610,  5,      "sox IN -e signed -b 16 OUT",          "sox IN -e gsm OUT", 8000, 1},
  {"wav",  u"Microsoft wave",                       Gsm610,  5,      "ffmpeg -i IN -c:a pcm_s16le OUT",     nullptr, 8000, 1},
  {"wav",  u"Microsoft wave",                       MuLaw,   25,     "sox IN -e signed -b 16 OUT",          "sox IN -e mu-law OUT"},
  {"aif",  u"Audio interchange",                    Pcm16,   kExact, "sox IN OUT",                          "sox IN OUT"},
  {"aif",  u"Audio interchange",                    Pcm24,   kExact, "ffmpeg -i IN -c:a pcm_s24le OUT",     "ffmpeg -i IN -c:a pcm_s24be OUT"},
  {"aifc", u"Audio interchange, compressed",        Float32, kExact, "ffmpeg -i IN -c:a pcm_f32le OUT",     "sox IN OUT"},
  {"au",   u"Sun/NeXT/DEC audio",                   Pcm16,   kExact, "sox IN OUT",                          "sox IN OUT"},
  {"avr",  u"Audio Visual Research",                Pcm16,   kExact, "ffmpeg -i IN OUT",                    "sox IN OUT"},
  {"caf",  u"Apple CoreAudio",                      Pcm16,   kExact, "ffmpeg -i IN OUT",                    "ffmpeg -i IN -c:a pcm_s16be OUT"},
  {"nist", u"NIST Sphere",                          Pcm16,   kExact, "ffmpeg -i IN OUT",                    "sox IN -t sph OUT"},
  {"paf",  u"Ensoniq PARIS",                        Pcm16,   kExact, "sndfile-convert -pcm16 IN OUT",       "sndfile-convert -pcm16 IN OUT"},
  {"sf",   u"IRCAM sound",                          Pcm16,   kExact, "sox IN OUT",                          "sox IN OUT"},
  {"snd",  u"Sun/NeXT/DEC audio (snd)",             Pcm16,   kExact, "ffmpeg -i IN OUT",                    "sox IN OUT"},
  {"svx",  u"Amiga 8SVX",                           Pcm8,    kExact, "sox -t 8svx IN -b 8 OUT",             "sox IN -b 8 -D -t 8svx OUT", 44100, 1},
  {"iff",  u"Amiga IFF",                            Pcm16,   kExact, "ffmpeg -i IN OUT",                    nullptr, 44100, 1},
  {"voc",  u"Creative voice",                       Pcm16,   kExact, "sox IN OUT",                          "sox IN OUT"},
  {"w64",  u"Wave-64",                              Pcm16,   kExact, "ffmpeg -i IN OUT",                    "ffmpeg -i IN OUT"},
};
// clang-format on

struct Material {
  std::string name;
  std::vector<float> samples;  // 16 bits wide
  unsigned channels = 1;
  bool isPlain = false;  // not periodic and no noise: codecs do as well as they can
};

std::vector<Material> materials() {
  std::vector<Material> found = {{"stereo", heldBy(Pcm16, music(50000, 2)), 2, true},
                                 {"mono", heldBy(Pcm16, music(50000)), 1, true}};
  std::vector<Path> files = {(Path(VEMKO_TEST_DATA) / "../../examples/organ.wav").lexically_normal()};
  if (const char* corpus = std::getenv("VEMKO_CORPUS"))
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus))
      if (entry.path().extension() == ".wav" && entry.file_size() > 60000 && entry.file_size() < 800000)
        files.push_back(entry.path());
  std::ranges::sort(files.begin() + 1, files.end());
  constexpr std::size_t kMost = 7;
  for (const Path& file : files) {
    Collection collection;
    if (found.size() == kMost || !io::openFile(collection, file, false)) continue;
    Waveform* waveform = collection.count(ItemKind::Waveform) ? collection.all<Waveform>().front() : nullptr;
    if (!waveform || waveform->channels > 2 || waveform->frames < 20000 ||
        waveform->source->encoding() != Pcm16)
      continue;
    found.push_back({file.filename().string(), samplesOf(*waveform), waveform->channels});
  }
  return found;
}

std::string programOf(std::string_view command) { return std::string(command.substr(0, command.find(' '))); }

bool execute(std::string command, const Path& in, const Path& out) {
  removeFile(out);
  if (command.starts_with("ffmpeg ")) command.insert(6, " -v error -y");
  command.replace(command.find("IN"), 2, "'" + in.string() + "'");
  command.replace(command.find("OUT"), 3, "'" + out.string() + "'");
  return std::system((command + " >/dev/null 2>&1 </dev/null").c_str()) == 0;
}

void save(const Material& material, std::uint32_t rate, int row, SampleEncoding encoding, const Path& path) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  waveform.rate = rate;
  fill(waveform, material.samples, static_cast<std::uint8_t>(material.channels));
  ASSERT_TRUE(io::saveItem(&waveform, row, path, io::saveOptionsFor(row, io::encodingBit(encoding))))
      << toUtf8(lastError());
}

// The ratio that was found.
double compare(const ProgramCase& each, const Material& material, const Path& path) {
  const Opened opened = openWaveform(path);
  if (!opened.waveform) return 0;
  EXPECT_EQ(opened.waveform->rate, each.rate);
  EXPECT_EQ(opened.waveform->channels, material.channels);
  std::vector<float> found = samplesOf(*opened.waveform);
  const std::vector<float>& expected = material.samples;
  // What ffmpeg fills the chunk up to 8 bytes with counts as samples there.
  const bool isFilledUp = each.extension == std::string_view("w64") && found.size() < expected.size() + 4;
  if (isFilledUp) found.resize(expected.size());
  if (each.encoding == Gsm610)
    EXPECT_LT(found.size() - expected.size(), 320u);
  else
    EXPECT_EQ(found.size(), expected.size());
  if (each.decibels == kExact) {
    EXPECT_TRUE(found == expected);
    return kExact;
  }
  EXPECT_TRUE(!material.isPlain || bestShift(expected, found, material.channels) == 0);
  const double ratio = signalToNoise(expected, found);
  EXPECT_GE(ratio, material.isPlain ? each.decibels : 0);
  return ratio;
}

std::string figure(double ratio) { return ratio == kExact ? "exact" : formatted("%.1f dB", ratio); }

void runCase(const ProgramCase& each, Material material, const TempFolder& folder) {
  if (each.encoding == Pcm8) material.samples = heldBy(Pcm8, std::move(material.samples));
  const int row = io::findWritingRowByDescription(each.description);
  const int wave = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  const Path ours = folder / (std::string("ours.") + each.extension),
             theirs = folder / (std::string("theirs.") + each.extension);
  std::string read = "not tried", written = "not tried";
  if (hasProgram(programOf(each.decode))) {
    save(material, each.rate, row, each.encoding, ours);
    ASSERT_TRUE(execute(each.decode, ours, folder / "decoded.wav")) << each.decode;
    written = figure(compare(each, material, folder / "decoded.wav"));
  }
  if (each.encode && hasProgram(programOf(each.encode))) {
    const bool isFloat = each.encoding == Float32;
    save(material, each.rate, wave, isFloat ? Float32 : Pcm16, folder / "source.wav");
    ASSERT_TRUE(execute(each.encode, folder / "source.wav", theirs)) << each.encode;
    read = figure(compare(each, material, theirs));
  }
  std::printf("%-38s %-14.14s ours by %-15s %-9s  theirs by us %s\n", toUtf8(each.description).c_str(),
              material.name.c_str(), programOf(each.decode).c_str(), written.c_str(), read.c_str());
}

TEST(AudioPrograms, ReadWhatWeWriteAndWriteWhatWeRead) {
  const TempFolder folder;
  std::size_t run = 0;
  for (const Material& material : materials())
    for (const ProgramCase& each : kCases) {
      SCOPED_TRACE(toUtf8(each.description) + ", " + each.decode + ", " + material.name);
      const int row = io::findWritingRowByDescription(each.description);
      if (isMissing(row) || material.channels > each.mostChannels) continue;
      if (!hasProgram(programOf(each.decode))) {
        std::printf("%s is not installed: not compared\n", programOf(each.decode).c_str());
        continue;
      }
      runCase(each, material, folder);
      ++run;
    }
  if (run == 0) GTEST_SKIP() << "nothing to compare with";
}

}  // namespace
}  // namespace vemko::test
