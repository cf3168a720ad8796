#include "app/cli/definition.h"

#include <CLI/CLI.hpp>

#include "app/cli/names.h"
#include "base/text.h"
#include "base/version.h"
#include "io/fixup.h"

namespace vemko::cli {
namespace {

std::vector<std::string> encodingWords() {
  std::vector<std::string> words;
  for (const EncodingName& row : encodingNames()) words.emplace_back(row.name);
  return words;
}

std::vector<std::string> kindWords() {
  std::vector<std::string> words;
  for (ItemKind kind : savableKinds()) words.push_back(toUtf8(displayWord(kind)));
  return words;
}

std::string fixupHelp() {
  std::string text = "Switch a step of the tidying after opening on or off, whatever the settings say:";
  for (const io::FixupStep& step : io::fixupSteps())
    if (step.option) text.append(" ").append(step.name).append(",");
  if (text.back() == ',') text.pop_back();
  return text;
}

void defineFormats(CLI::App& app, FormatsArguments& arguments) {
  CLI::App* command = app.add_subcommand("formats", "List the file formats that are read and written.");
  command->add_flag("--readable", arguments.readable, "Only formats that can be opened");
  command->add_flag("--writable", arguments.writable, "Only formats that can be written");
  command->add_flag("--json", arguments.json, "Print one JSON array");
}

void defineDetect(CLI::App& app, DetectArguments& arguments) {
  CLI::App* command =
      app.add_subcommand("detect", "Tell which format each file has, by its content and name.");
  command->add_option("FILE", arguments.files, "Files to look at")->required();
  command->add_flag("--json", arguments.json, "Print one JSON array");
}

void defineInfo(CLI::App& app, InfoArguments& arguments) {
  CLI::App* command = app.add_subcommand(
      "info", "Show what a file holds: instruments, waveforms with their loops and texts, songs.");
  command->add_option("FILE", arguments.file, "File to open")->required();
  command->add_flag("--json", arguments.json, "Print one JSON object");
}

void defineCompare(CLI::App& app, CompareArguments& arguments) {
  CLI::App* command = app.add_subcommand(
      "compare", "Tell what differs between two files: instruments, regions, sound, loops and samples.");
  command->add_option("FIRST", arguments.first, "File to open")->required();
  command
      ->add_option("SECOND", arguments.second,
                   "File to compare it with; several are taken together, as when a bank was saved as one "
                   "file for each "
                   "instrument")
      ->required();
  command
      ->add_option(
          "--tolerance", arguments.tolerance,
          "How far apart values may be, in steps that a listener could just tell: a cent, a tenth of a "
          "dB, 1 % of a frequency or time, a hundredth of a frame of a loop, one step of 16 bits of a "
          "sample")
      ->check(CLI::NonNegativeNumber)
      ->type_name("STEPS");
  command->add_flag("--no-samples", arguments.noSamples, "Pass over the sample data");
  command->add_flag("--json", arguments.json, "Print one JSON object");
  command->add_flag("-q,--quiet", arguments.quiet, "Print nothing, only give the exit status");
  command->footer(
      "The exit status is 0 when nothing differs, 1 when something does, 2 when a file cannot be read.");
}

void defineConversionOptions(CLI::App& command, ConvertArguments& arguments) {
  command
      .add_option("--to", arguments.to,
                  "Target format: its extension, or its description from 'vemko formats'")
      ->type_name("EXT|\"DESCRIPTION\"");
  command
      .add_option("--kind", arguments.kind,
                  "What becomes one file each; by default the largest that the format holds")
      ->check(CLI::IsMember(kindWords()))
      ->type_name("KIND");
  command
      .add_option(
          "--encoding", arguments.encoding,
          "How samples are stored; by default as in the source where the format can, else without loss")
      ->check(CLI::IsMember(encodingWords()))
      ->type_name("ENCODING");
  command
      .add_option(
          "--bit-rate", arguments.bitRate,
          "Bit rate of compressed samples; the format's nearest setting is taken, without it the best")
      ->check(CLI::PositiveNumber)
      ->type_name("KBIT/S");
  command
      .add_option("--sample-files", arguments.sampleFiles,
                  "Format of the sample files that an instrument format keeps beside its own file")
      ->check(CLI::IsMember({"wav", "flac", "ogg"}))
      ->type_name("EXT");
  command.add_option("--channels", arguments.channels, "Turn all waveforms into mono or stereo")
      ->check(CLI::IsMember({"auto", "mono", "stereo"}))
      ->type_name("LAYOUT");
  command.add_option("--on-exists", arguments.onExists, "What to do with an output file that exists already")
      ->check(CLI::IsMember({"overwrite", "rename", "skip", "fail"}))
      ->type_name("CHOICE");
}

void defineReadingOptions(CLI::App& command, ConvertArguments& arguments) {
  command.add_flag("--raw", arguments.raw, "Take files that no format fits as raw samples");
  command.add_option("--raw-encoding", arguments.rawEncoding, "Encoding of raw samples")
      ->check(CLI::IsMember({"pcm8", "pcm16", "pcm24", "pcm32", "float32", "float64", "ulaw", "alaw"}))
      ->type_name("ENCODING");
  command.add_option("--raw-rate", arguments.rawRate, "Sample rate of raw samples")
      ->check(CLI::PositiveNumber)
      ->type_name("HZ");
  command.add_option("--raw-channels", arguments.rawChannels, "Channels of raw samples")
      ->check(CLI::Range(1, 255))
      ->type_name("NUMBER");
  command.add_option("--raw-skip", arguments.rawSkip, "Bytes before the first raw sample")
      ->type_name("BYTES");
  command.add_flag("--raw-big-endian", arguments.rawBigEndian, "Raw samples have their high byte first");
  command.add_flag("--raw-signed", arguments.rawSigned, "Raw 8-bit samples are signed");
  command.add_option("--rom", arguments.rom, "Bank to take ROM samples from, or 'skip' to leave them out")
      ->type_name("use=PATH|skip");
  command
      .add_option("--answer", arguments.answer,
                  "Answer to every question; without it the one by which nothing is lost")
      ->check(CLI::IsMember({"yes", "no"}))
      ->type_name("ANSWER");
  CLI::Option* none =
      command.add_flag("--no-fixup", arguments.noFixup, "Take files as they are, without tidying");
  // Given once for each step; what follows a value is an input and no further value.
  command.add_option("--fixup", arguments.fixups, fixupHelp())
      ->allow_extra_args(false)
      ->type_name("NAME=0|1")
      ->excludes(none);
  command.add_flag("--report", arguments.report, "Print what each output file cannot hold of its source");
  command.add_flag("--json", arguments.json, "The report as a line of JSON for each output file");
}

void defineConvert(CLI::App& app, ConvertArguments& arguments) {
  CLI::App* command = app.add_subcommand("convert", "Convert files into another format.");
  command->add_option("INPUT", arguments.inputs, "Files to convert")->required();
  CLI::Option* output =
      command->add_option("-o,--output", arguments.output, "File to write")->type_name("FILE");
  command
      ->add_option("-d,--directory", arguments.folder,
                   "Folder to write into, made when missing; files are named after their inputs")
      ->type_name("DIR")
      ->excludes(output);
  defineConversionOptions(*command, arguments);
  command->add_flag("--merge", arguments.merge, "Put all inputs into one collection");
  command
      ->add_option("-j,--jobs", arguments.jobs,
                   "Worker processes, 0 for one a processor; by default that for many files, else 1")
      ->check(CLI::Range(0, 1024))
      ->type_name("N");
  defineReadingOptions(*command, arguments);
  command->add_flag("-q,--quiet", arguments.quiet, "No notes and no progress, errors only");
  command->footer(
      "Without --to the extension of the -o file chooses the format. A file of one waveform or instrument "
      "each is\n"
      "named \"InputFileName - ItemName.Ext\" when an input holds several. The file that is overwritten "
      "stays\n"
      "beside the new one as FILE.bak until that is complete.");
  // What a worker process runs; it gets its inputs line by line.
  CLI::App* worker = app.add_subcommand("convert-worker", "")->group("");
  defineConversionOptions(*worker, arguments);
  defineReadingOptions(*worker, arguments);
}

void defineToolOptions(CLI::App& command, ProcessArguments& arguments) {
  command.add_option("TOOL", arguments.tool, "Name of the tool, from --list");
  command.add_option("--set", arguments.settings, "Set an option of the tool, by its label or short name")
      ->allow_extra_args(false)
      ->type_name("OPTION=VALUE");
  command
      .add_option("--range", arguments.range,
                  "Frames from START to before END, for tools that work within a selection")
      ->type_name("START:END");
  command.add_flag("--json", arguments.json,
                   "Print one JSON object a line for each input, or a list of tools");
  command.add_flag("-q,--quiet", arguments.quiet, "No notes, no counts and no progress");
}

void defineProcess(CLI::App& app, ProcessArguments& arguments) {
  CLI::App* command = app.add_subcommand(
      "process", "Apply a tool to the waveforms of files: change or measure their volume.");
  defineToolOptions(*command, arguments);
  command->add_option("INPUT", arguments.inputs, "Files to process");
  CLI::Option* output =
      command->add_option("-o,--output", arguments.output, "File to write")->type_name("FILE");
  CLI::Option* folder =
      command
          ->add_option("-d,--directory", arguments.folder,
                       "Folder to write into, made when missing; files are named like their inputs")
          ->type_name("DIR")
          ->excludes(output);
  command->add_flag("--in-place", arguments.inPlace, "Write the inputs themselves, those that were modified")
      ->excludes(output)
      ->excludes(folder);
  command
      ->add_option("-j,--jobs", arguments.jobs,
                   "Worker processes, 0 for one a processor; by default that for many files, else 1")
      ->check(CLI::Range(0, 1024))
      ->type_name("N");
  command->add_flag("--list", arguments.list, "Print the tools with their options");
  command->footer(
      "Files keep their format and encoding. The file that is overwritten stays beside the new one as "
      "FILE.bak "
      "until\n"
      "that is complete. Tools that measure need no output.");
  CLI::App* worker = app.add_subcommand("process-worker", "")->group("");
  defineToolOptions(*worker, arguments);
}

void defineConfig(CLI::App& app, ConfigArguments& arguments) {
  using Action = ConfigArguments::Action;
  CLI::App* command = app.add_subcommand("config", "Show and change the settings.");
  command->require_subcommand(1);
  command->add_subcommand("list", "Print every setting with its value.")->callback([&arguments] {
    arguments.action = Action::List;
  });
  CLI::App* get = command->add_subcommand("get", "Print the value of a setting.");
  get->add_option("NAME", arguments.name, "Name of the setting")->required();
  get->callback([&arguments] { arguments.action = Action::Get; });
  CLI::App* set = command->add_subcommand("set", "Change a setting.");
  set->add_option("NAME", arguments.name, "Name of the setting")->required();
  CLI::Option* value = set->add_option("VALUE", arguments.value, "Its new value");
  // A negative number looks like an option to the parser and is left over.
  set->allow_extras();
  set->callback([&arguments, set, value] {
    arguments.action = Action::Set;
    std::vector<std::string> left = set->remaining();
    if (value->count() == 0 && left.size() == 1)
      arguments.value = left.front();
    else if (value->count() == 0)
      throw CLI::RequiredError("VALUE");
    else if (!left.empty())
      throw CLI::ExtrasError(left);
  });
}

}  // namespace

void defineCommands(CLI::App& app, Arguments& arguments) {
  app.set_version_flag("--version", std::string("vemko (") + kProductName + ") " + kVersion,
                       "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.require_subcommand(0, 1);
  app.allow_windows_style_options(false);
  defineFormats(app, arguments.formats);
  defineDetect(app, arguments.detect);
  defineInfo(app, arguments.info);
  defineCompare(app, arguments.compare);
  defineConvert(app, arguments.convert);
  defineProcess(app, arguments.process);
  defineConfig(app, arguments.config);
}

}  // namespace vemko::cli
