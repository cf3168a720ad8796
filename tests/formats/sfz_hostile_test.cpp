// Files made to do harm: each loads or is refused, in bounded time and memory, and nothing outside is shown.
#include <chrono>
#include <random>

#include "sfz_support.h"

namespace vemko::sfz {
namespace {

using test::SfzFolder;

std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  all.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

template <std::size_t size>
std::string withZeros(const char (&text)[size]) {
  return std::string(text, size - 1);
}

TEST(SfzHostile, BoundsWhatAFileCanCost) {
  struct Case {
    const char* name;
    std::string text;
    bool opens;
    std::size_t regions = 1;
  };
  std::string growing;
  for (int i = 0; i < 60; ++i) growing += "#define $a x$a$a\n";
  const Case cases[] = {
      {"includes itself", "<region>\n#include \"x.sfz\"", false},
      {"includes in a circle", "<region>\n#include \"circle.sfz\"", false},
      {"includes 40 deep", "<region>\n#include \"deep0.sfz\"", false},
      {"includes that double", "<region>\n#include \"double0.sfz\"", false},
      {"an include that is missing", "#include \"gone.sfz\"\n<region>lokey=1", true},
      {"an include without quotes", "#include gone.sfz\n<region>lokey=1", true},
      {"an include from outside", "#include \"/etc/passwd\"\n<region>lokey=1", true},
      {"no sample", "<region>sample= lokey=1", true},
      {"an absolute sample", "<region>sample=/etc/passwd", true},
      {"a sample outside that is no audio", "<region>sample=../../../../../../../../etc/passwd", true},
      {"a sample that is a folder", "<region>sample=..", true},
      {"a sample that is the file itself", "<region>sample=x.sfz", true},
      {"definitions that grow", growing + "<region>lokey=$a", true},
      {"a definition of itself", "#define $a $a$a$a\n<region>lokey=$a", true},
      {"numbers of no sense",
       "<region>lokey=999999 hikey=zz#9 offset=100000000000000000000 pan=nan tune=1e309", true},
      {"names of no sense", "<region>eg999_time1=1 lfo01=2 cc=3 _=4 =5 eg1_time99999=1 on_locc999=1 @=3 #=4",
       true},
      {"nothing but an opcode", "lokey=5", true, 0},
      {"a header without end", "<region>lokey=1 <regio", true},
      {"headers of no sense", "<region><><<>><=><x y><region", true},
      {"zeros", withZeros("<region>lo\0key=1\0 hikey=2 \0<region>\0"), true, 2},
      {"half of a UTF-16 character", std::string("\xFF\xFE<\0r\0e\0g\0i\0o\0n\0>\0\xD8", 19), true},
      {"a line of 2 MB", "<region>" + repeated("lokey=1 ", 250'000), true},
      {"a value of 2 MB", "<region>lokey=" + repeated("a ", 1'000'000), true},
      {"a name of 2 MB", "<region>" + std::string(2'000'000, 'a') + "=1", true},
      {"200,000 opcodes nobody knows", "<region>" + repeated("a$1=2 ", 200'000), true},
      {"an offset behind the end", "<region>sample=a.wav offset=5000 end=2", true},
      {"loops of no sense", "<region>sample=a.wav loop_mode=loop_continuous loop_start=4294967295 loop_end=0",
       true},
      {"100,000 regions", repeated("<region>sample=a.wav lokey=1 tune=3\n", 100'000), true, 100'000},
      {"100,000 samples that are missing",
       [] {
         std::string all;
         for (int i = 0; i < 100'000; ++i) all += "<region>sample=gone" + std::to_string(i) + ".wav\n";
         return all;
       }(),
       true, 100'000},
      {"100,000 starts of one sample",
       [] {
         std::string all;
         for (int i = 0; i < 100'000; ++i)
           all += "<region>sample=a.wav offset_cc68=" + std::to_string(i) + "\n";
         return all;
       }(),
       true, 100'000},
  };
  SfzFolder folder;
  test::putFile(folder / "circle.sfz", "#include \"x.sfz\"");
  for (int i = 0; i < 40; ++i) {
    const std::string number = std::to_string(i), next = std::to_string(i + 1);
    test::putFile(folder / ("deep" + number + ".sfz"), "#include \"deep" + next + ".sfz\"");
    test::putFile(folder / ("double" + number + ".sfz"),
                  i < 20 ? repeated("#include \"double" + next + ".sfz\"\n", 2) : std::string("lokey=1"));
  }
  test::putFile(folder / "deep40.sfz", "lokey=1");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::putFile(folder / "x.sfz", c.text);
    Collection collection;
    test::LogLines log;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(io::openFile(collection, folder / "x.sfz", false), c.opens) << toUtf8(lastError());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    if (c.opens) {
      EXPECT_EQ(collection.count(ItemKind::Region), c.regions);
    }
    EXPECT_EQ(log.count("root:"), 0u);
  }
}

// Cut anywhere and with bytes flipped: nothing but an answer is expected.
TEST(SfzHostile, SurvivesDamage) {
  const std::string text =
      "// x\n#define $K c#4\n<control>default_path=./ note_offset=1\n<global>ampeg_release=1 eg01_points=4 "
      "eg01_time1=2\n"
      "<group>cutoff=1000 fil_veltrack=1200 loop_mode=loop_sustain\n#include \"part.sfz\"\n"
      "<region>sample=a.wav key=$K lfo01_pitch_oncc1=3 eq1_gain=2 locc1=3 end=500 offset_cc68=5 "
      "xfin_lokey=1\n";
  SfzFolder folder;
  test::putFile(folder / "part.sfz", "volume=3 /* a */ pan=4");
  auto open = [&](const std::string& bytes) {
    test::putFile(folder / "x.sfz", bytes.empty() ? " " : bytes);
    Collection collection;
    io::openFile(collection, folder / "x.sfz", false);
  };
  for (std::size_t length = 0; length <= text.size(); ++length) open(text.substr(0, length));
  std::mt19937 random(3);
  for (int i = 0; i < 500; ++i) {
    std::string damaged = text;
    for (int j = 0; j < 3; ++j) damaged[random() % damaged.size()] = static_cast<char>(random());
    open(damaged);
  }
}

}  // namespace
}  // namespace vemko::sfz
