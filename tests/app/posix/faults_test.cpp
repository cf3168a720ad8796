// Every call of the system that a conversion makes fails once, and every allocation: the program says why and
// ends with status 1, the files in its folder are those from before, byte by byte; or it succeeds in spite of
// the fault.
#include <cstdlib>
#include <map>
#include <sys/mount.h>
#include <unistd.h>

#include "app/program.h"
#include "app/wave_files.h"
#include "formats/audio_support.h"

namespace vemko {
namespace {

using namespace test;
using Contents = std::map<std::string, std::string>;

struct Family {
  const char* name;
  std::vector<std::string> arguments;
  const char* target;
  bool goesOnWithoutSamples = false;  // and without the regions that play them
};

const std::vector<Family>& families() {
  static const std::vector<Family> all = {
      {"wav", {"a.wav", "--encoding", "pcm24"}, "out.wav"},
      {"copied wav", {"a.wav"}, "out.wav"},
      {"aif", {"a.wav"}, "out.aif"},
      {"caf", {"a.wav"}, "out.caf"},
      {"flac", {"a.wav"}, "out.flac"},
      {"ogg", {"a.wav"}, "out.ogg"},
      {"from flac", {"a.flac"}, "out.wav"},
      {"sf2", {"a.dls"}, "out.sf2"},
      {"sf3", {"a.sf2"}, "out.sf3"},
      {"from sfz", {"a.sfz"}, "out.sf2", true},
      {"dls", {"a.sf2"}, "out.dls"},
      {"sfz", {"a.sf2"}, "out.sfz"},
      {"sfz with a folder", {"a.sf2", "--to", "Cakewalk SFZ v2 (waves in sub-folder)"}, "out.sfz"},
      {"mid", {"a.mid"}, "out.mid"},
      {"rmi", {"a.mid", "a.sf2", "--merge", "--to", "RIFF-MIDI w DLS level 1 instruments"}, "out.rmi"},
  };
  return all;
}

void makeInputs(const Path& folder) {
  makeWave(folder / "a.wav", 600, SampleEncoding::Pcm16, 2);
  putFile(folder / "a.sfz",
          "<group> ampeg_release=1 <region> sample=a.wav hikey=60 loop_mode=loop_continuous loop_start=9 "
          "loop_end=99 "
          "<region> sample=b.wav lokey=61 cutoff=900");
  makeWave(folder / "b.wav", 500);
  using namespace std::string_literals;
  putFile(folder / "a.mid",
          "MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0\x14\0\xff\3\4Song\0\x90\x3c\x64\x60\x3c\0\0\xff\x2f\0"s);
  for (const auto& [from, made] : {std::pair("a.wav", "a.flac"), {"a.sfz", "a.sf2"}, {"a.sf2", "a.dls"}})
    ASSERT_EQ(run({"convert", "-q", from, "-o", made}, {.folder = folder}).status, 0) << made;
}

/// Of the folder and those in it; hidden ones are left out, a folder's own content is "".
Contents contentsOf(const Path& folder) {
  Contents contents;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string name = entry.path().lexically_relative(folder).string();
    if (!name.starts_with('.')) contents[name] = entry.is_directory() ? "" : contentOf(entry.path());
  }
  return contents;
}

/// Sets the folder back to these contents.
void restore(const Path& folder, const Contents& contents) {
  for (const auto& [name, content] : contentsOf(folder))
    if (!contents.contains(name)) std::filesystem::remove_all(folder / name);
  for (const auto& [name, content] : contents) putFile(folder / name, content);
}

class Faults : public testing::Test {
 protected:
  void SetUp() override {
    makeInputs(folder_.path());
    setEnvironment("VEMKO_FIRED", (folder_ / ".fired").c_str());
    setEnvironment("LD_PRELOAD", VEMKO_FAULTS);
    setEnvironment("ASAN_OPTIONS", "verify_asan_link_order=0");
  }
  void TearDown() override {
    for (const char* name : {"VEMKO_FAULT", "VEMKO_FIRED", "LD_PRELOAD", "ASAN_OPTIONS"})
      setEnvironment(name, nullptr);
  }

  Ran runWith(const Family& family, const std::string& fault) {
    std::vector<std::string> arguments = {"convert", "-q", "-o", family.target};
    arguments.insert(arguments.end(), family.arguments.begin(), family.arguments.end());
    removeFile(folder_ / ".fired");
    setEnvironment("VEMKO_FAULT", fault.c_str());
    return run(arguments, {.folder = folder_.path()});
  }

  /// The folder before the run and after one without faults.
  struct Expected {
    Contents before, after;
  };

  Expected expectedOf(const Family& family) {
    Expected expected{.before = contentsOf(folder_.path()), .after = {}};
    expected.before[family.target] = "old";
    restore(folder_.path(), expected.before);
    const Ran ran = runWith(family, "none 1");
    EXPECT_EQ(ran.status, 0) << ran.err;
    expected.after = contentsOf(folder_.path());
    return expected;
  }

  /// False when there was no such call.
  bool survives(const Family& family, const std::string& kind, int call, const Expected& expected) {
    const std::string fault = kind + " " + std::to_string(call);
    SCOPED_TRACE(fault);
    restore(folder_.path(), expected.before);
    const Ran ran = runWith(family, fault);
    if (!fileExists(folder_ / ".fired")) return false;
    Contents found = contentsOf(folder_.path()), after = expected.after;
    if (kind == "unlink") found.erase(family.target + std::string(".bak"));
    if (kind == "shrink")
      for (const auto& [name, content] : expected.before)
        if (name != family.target) found[name] = content;
    const bool isOfReading =
        kind == "open" || kind == "read" || kind == "map" || kind == "shrink" || kind == "close";
    if (family.goesOnWithoutSamples && isOfReading && ran.status == 0)
      after[family.target] = found[family.target];
    EXPECT_TRUE(ran.status == 0 || (ran.status == 1 && !ran.err.empty())) << ran.status << ran.err;
    EXPECT_TRUE(found == after || (ran.status == 1 && found == expected.before)) << ran.status << ran.err;
    return !HasFailure();
  }

  const TempFolder folder_;
};

TEST_F(Faults, OfTheSystemAndOfMemoryLoseNothing) {
  // All allocations of all formats take long; the chosen ones lie farther and farther apart.
  const bool everyOne = std::getenv("VEMKO_EVERY_FAULT") != nullptr;
  for (const Family& family : families()) {
    SCOPED_TRACE(family.name);
    const Expected expected = expectedOf(family);
    int faults = 0;
    for (const std::string kind : {"open", "read", "map", "shrink", "write", "short", "sync", "close",
                                   "rename", "unlink", "allocate"}) {
      const bool sparse = !everyOne && kind == "allocate";
      for (int call = 1; survives(family, kind, call, expected); call += sparse ? 1 + call / 4 : 1) ++faults;
    }
    if (HasFailure()) return;
    EXPECT_GT(faults, 20);
    std::printf("%s: %d faults\n", family.name, faults);
    restore(folder_.path(), expected.before);
    removeFile(folder_ / family.target);
  }
}

// A disk of 64 KiB; the input lies elsewhere.
TEST(FullDisk, LosesNothing) {
  const TempFolder folder;
  const Path disk = folder / "disk";
  std::filesystem::create_directory(disk);
  makeInputs(folder.path());
  makeWave(folder / "long.wav", 60000);
  if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "only root may mount";
  putFile(disk / "out.wav", "old");
  const Ran ran = run({"convert", "-q", "long.wav", "-o", "disk/out.wav"}, {.folder = folder.path()});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "long.wav: Writing to file failed (disk/out.wav)\n");
  EXPECT_EQ(contentsOf(disk), (Contents{{"out.wav", "old"}}));
  ::umount(disk.c_str());
}

// As somebody who may read the folder only.
TEST(ReadOnlyFolder, RefusesAndKeepsWhatIsThere) {
  const TempFolder folder;
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
  makeInputs(folder.path());
  putFile(folder / "out.wav", "old");
  const Contents before = contentsOf(folder.path());
  for (const char* target : {"out.wav", "new.wav", "out.sfz", "none/out.wav"}) {
    SCOPED_TRACE(target);
    const RunOptions options{.folder = folder.path()};
    const std::string input = target == std::string("out.sfz") ? "a.sf2" : "a.wav";
    const Ran ran = waitForProgram(startProcess("/usr/bin/setpriv",
                                                {"--reuid", "65534", "--clear-groups", VEMKO_PROGRAM,
                                                 "convert", "-q", input, "-o", target},
                                                options),
                                   options);
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.err.find("Could not create f"), std::string::npos) << ran.err;  // file, folder
    EXPECT_EQ(contentsOf(folder.path()), before);
  }
}

// What cannot be told to the reader of the output is told by status and message.
TEST(StandardOutput, CanBeFull) {
  const TempFolder folder;
  const RunOptions options{.folder = folder.path()};
  makeWave(folder / "a.wav", 600);
  std::filesystem::create_symlink("/dev/full", folder / ".out");
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"info", "a.wav"},
                                                    {"detect", "--json", "a.wav"},
                                                    {"formats"},
                                                    {"--help"},
                                                    {"compare", "a.wav", "a.wav", "--json"}}) {
    SCOPED_TRACE(arguments.front());
    EXPECT_EQ(waitForProcess(startProgram(arguments, options)), 1);
    EXPECT_EQ(contentOf(folder / ".err"), "standard output: Writing to file failed\n");
  }
}

}  // namespace
}  // namespace vemko
