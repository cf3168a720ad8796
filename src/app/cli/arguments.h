#pragma once
// What stands on the command line, as plain records. The option definitions from which the parser, the help,
// the man page and the shell completion are made are in one place, definition.cpp.
#include <cstdint>
#include <string>
#include <vector>

namespace vemko::cli {

/// Exit status of every command.
enum Status : int { kDone = 0, kSomeFailed = 1, kUsage = 2 };

inline constexpr int kJobsUnset = -1;

struct FormatsArguments {
  bool readable = false;
  bool writable = false;
  bool json = false;
};

struct DetectArguments {
  std::vector<std::string> files;
  bool json = false;
};

struct InfoArguments {
  std::string file;
  bool json = false;
};

struct CompareArguments {
  std::string first;
  std::vector<std::string> second;  ///< Together they are compared with the first.
  double tolerance = 0;
  bool noSamples = false;
  bool json = false;
  bool quiet = false;
};

struct ConvertArguments {
  std::vector<std::string> inputs;
  std::string output;
  std::string folder;
  std::string to;
  std::string kind;
  std::string encoding;
  double bitRate = 0;  ///< kbit/s; 0: the format's first setting.
  std::string sampleFiles = "wav";
  std::string channels = "auto";
  bool merge = false;
  std::string onExists = "overwrite";
  int jobs = kJobsUnset;
  bool raw = false;
  std::string rawEncoding = "pcm16";
  std::uint32_t rawRate = 44100;
  int rawChannels = 1;
  std::uint64_t rawSkip = 0;
  bool rawBigEndian = false;
  bool rawSigned = false;
  std::string rom = "skip";
  std::string answer;  ///< "yes", "no"; empty for the cautious answers.
  bool noFixup = false;
  std::vector<std::string> fixups;  ///< "NAME=0", "NAME=1"
  bool report = false;
  bool json = false;  ///< The report, a line a file.
  bool quiet = false;
};

struct ProcessArguments {
  std::string tool;
  std::vector<std::string> inputs;
  std::string output;
  std::string folder;
  bool inPlace = false;
  std::vector<std::string> settings;  ///< "OPTION=VALUE"
  std::string range;                  ///< "START:END" in frames; empty: the whole waveforms.
  int jobs = kJobsUnset;
  bool list = false;
  bool json = false;
  bool quiet = false;
};

struct ConfigArguments {
  enum class Action : std::uint8_t { List, Get, Set };
  Action action = Action::List;
  std::string name;
  std::string value;
};

enum class Command : std::uint8_t {
  Finished,  ///< Help or an error was printed; `status` tells which.
  Formats,
  Detect,
  Info,
  Compare,
  Convert,
  ConvertWorker,
  Process,
  ProcessWorker,
  Config
};

struct Arguments {
  Command command = Command::Finished;
  int status = kDone;
  FormatsArguments formats;
  DetectArguments detect;
  InfoArguments info;
  CompareArguments compare;
  ConvertArguments convert;
  ProcessArguments process;
  ConfigArguments config;
  /// The options of `convert` as given, without inputs, outputs and target: what a worker is started with.
  std::vector<std::string> workerArguments;
};

/// Prints help, version and usage errors itself.
Arguments parseArguments(const std::vector<std::string>& values);

}  // namespace vemko::cli
