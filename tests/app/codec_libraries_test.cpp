// With the codec libraries hidden: the formats that need none go on working, the others say what is missing.
#include <nlohmann/json.hpp>

#include "app/program.h"
#include "app/wave_files.h"
#include "formats/audio_support.h"
#include "settings_folder.h"

namespace vemko::test {
namespace {

void makeCompressedFiles(const TempFolder& folder) {
  for (int row : waveformWritingRows()) {
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    fill(waveform, music(2000));
    waveform.rate = 8000;
    const Path path = folder / ("a." + toUtf8(io::extensionOf(row)));
    EXPECT_TRUE(io::saveItem(&waveform, row, path, io::saveOptionsFor(row, 0)))
        << path << toUtf8(lastError());
  }
  makeWave(folder / "speech.wav", 800, SampleEncoding::Gsm610);
  std::filesystem::create_directory(folder / "nothing");
}

TEST(CodecLibraries, MissingOnesAreNamedAndEverythingElseWorks) {
  const TempFolder folder;
  for (int row : waveformWritingRows())
    if (isMissing(row)) GTEST_SKIP() << "libraries are missing anyway";
  makeCompressedFiles(folder);
  const EnvironmentVariable hidden("VEMKO_CODEC_PATH", (folder / "nothing").string().c_str());
  const RunOptions here{.folder = folder.path()};

  struct Case {
    std::vector<std::string> arguments;
    std::string missing;  // empty: it works
  };
  for (const Case& each : {
           Case{{"convert", "a.wav", "-o", "b.wav", "--encoding", "pcm24"}, ""},
           Case{{"convert", "a.wav", "-o", "b.aif"}, ""},
           Case{{"convert", "a.svx", "-o", "b.wav"}, ""},
           Case{{"convert", "a.wav", "-o", "b.voc"}, ""},
           Case{{"detect", "a.flac"}, ""},
           Case{{"convert", "a.flac", "-o", "c.wav"},
                "libFLAC is not available (Debian package libflac12, Windows libFLAC.dll)"},
           Case{{"convert", "a.wav", "-o", "c.flac"}, "libFLAC"},
           Case{{"convert", "a.ogg", "-o", "c.wav"}, "libvorbisfile"},
           Case{{"convert", "a.wav", "-o", "c.ogg"}, "libvorbisenc"},
           Case{{"convert", "a.opus", "-o", "c.wav"}, "libopusfile"},
           Case{{"convert", "a.wav", "-o", "c.opus"}, "libopusenc"},
           Case{{"convert", "a.mp3", "-o", "c.wav"}, "libmpg123"},
           Case{{"convert", "a.wav", "-o", "c.mp3"}, "libmp3lame"},
           Case{{"convert", "a.wv", "-o", "c.wav"}, "libwavpack"},
           Case{{"convert", "a.gsm", "-o", "c.wav"}, "libgsm"},
           Case{{"convert", "speech.wav", "-o", "c.wav"}, "libgsm"},
           Case{{"convert", "a.wav", "-o", "c.wav", "--encoding", "adpcm4"}, "libspandsp"},
           Case{{"convert", "a.wav", "-o", "c.wav", "--encoding", "codec"}, "libmp3lame"},
           Case{{"convert", "a.caf", "-o", "c.wav"}, "libsndfile"},
       }) {
    SCOPED_TRACE(each.arguments[1] + " " + each.arguments.back());
    const Ran ran = run(each.arguments, here);
    EXPECT_EQ(ran.status, each.missing.empty() ? 0 : 1) << ran.err;
    EXPECT_NE(ran.err.find(each.missing.empty() ? "" : "The codec library " + each.missing), ran.err.npos)
        << ran.err;
    EXPECT_TRUE(each.missing.empty() || !fileExists(folder / each.arguments.back()))
        << "something was left behind";
  }

  const auto formats = nlohmann::json::parse(run({"formats", "--json"}, here).out);
  for (const auto& format : formats) {
    const std::string extension = format["extension"];
    const bool needsNone = extension == "*" || extension == "wav" || extension == "bwf" ||
                           extension == "sds" || extension == "iff" || extension == "svx";
    const bool needsOne = extension == "flac" || extension == "mp3" || extension == "caf";
    EXPECT_FALSE(needsNone && !format["missing"].empty()) << format;
    EXPECT_FALSE(needsOne && format["missing"].empty()) << format;
  }
  EXPECT_NE(run({"formats"}, here).out.find("libopusenc (Debian package libopusenc0"), std::string::npos);
}

}  // namespace
}  // namespace vemko::test
