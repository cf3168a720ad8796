#include "app/cli/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "app/cli/definition.h"
#include "app/cli/output.h"

namespace vemko::cli {
namespace {

constexpr struct {
  std::string_view name;
  Command command;
} kCommands[] = {
    {"formats", Command::Formats}, {"detect", Command::Detect},
    {"info", Command::Info},       {"compare", Command::Compare},
    {"convert", Command::Convert}, {"convert-worker", Command::ConvertWorker},
    {"process", Command::Process}, {"process-worker", Command::ProcessWorker},
    {"config", Command::Config},
};

Command commandNamed(std::string_view name) {
  for (const auto& row : kCommands)
    if (row.name == name) return row.command;
  return Command::Finished;
}

// The options of the command line that a worker knows too, one argument each. The target is added when it is
// known: it may come from the name of the output.
std::vector<std::string> argumentsForWorker(const CLI::App& app) {
  std::vector<std::string> arguments = {"convert-worker"};
  const CLI::App* command = app.get_subcommand("convert");
  for (const CLI::Option* option : app.get_subcommand("convert-worker")->get_options()) {
    const CLI::Option* given =
        option->get_lnames().empty() ? nullptr : command->get_option_no_throw(option->get_name());
    if (!given || given->get_name() == "--to") continue;
    for (const std::string& value : given->results())
      arguments.push_back(given->get_expected_max() == 0 ? given->get_name()
                                                         : given->get_name() + "=" + value);
  }
  return arguments;
}

// The parser takes "[a,b]" for a list, and what stands behind "--" for its main program's. "./" before such
// names of files changes nothing but that.
std::vector<std::string> protectedFileNames(const std::vector<std::string>& values) {
  std::vector<std::string> arguments;
  const bool hasFiles = values.size() > 1 && values[1] != "config";
  bool namesOnly = false;
  for (std::size_t i = 1; i < values.size(); ++i) {
    const std::string& argument = values[i];
    const bool isList = argument.starts_with('[') && argument.ends_with(']');
    if (hasFiles && !namesOnly && argument == "--")
      namesOnly = true;
    else
      arguments.push_back((hasFiles && isList) || (namesOnly && argument.starts_with('-')) ? "./" + argument
                                                                                           : argument);
  }
  std::ranges::reverse(arguments);  // as the parser wants them
  return arguments;
}

int reportUsageError(const CLI::App& app, const CLI::ParseError& error) {
  std::string help = "vemko";
  for (const CLI::App* at = &app; !at->get_subcommands().empty();) {
    at = at->get_subcommands().front();
    help += " " + at->get_name();
  }
  return usageError(error.what(), help + " --help");
}

int reportUnknownCommand(std::string_view name) {
  std::string known;
  for (const auto& row : kCommands)
    if (!row.name.ends_with("-worker")) known += (known.empty() ? "" : ", ") + std::string(row.name);
  return usageError("unknown command \"" + std::string(name) + "\"; the commands are " + known,
                    "vemko --help");
}

}  // namespace

Arguments parseArguments(const std::vector<std::string>& values) {
  Arguments arguments;
  bool wantsMan = false;
  std::string shell;
  CLI::App app("Opens audio files, sampler instruments and songs of many formats and saves them in others.",
               "vemko");
  defineCommands(app, arguments);
  app.add_flag("--help-man", wantsMan)->group("");
  app.add_option("--completion", shell)->check(CLI::IsMember({"bash"}))->group("");
  if (values.size() > 1 && !values[1].starts_with('-') && commandNamed(values[1]) == Command::Finished) {
    arguments.status = reportUnknownCommand(values[1]);
    return arguments;
  }
  try {
    app.parse(protectedFileNames(values));
  } catch (const CLI::CallForVersion& request) {
    printLine(request.what());
    return arguments;
  } catch (const CLI::CallForHelp&) {
    print(app.help());
    return arguments;
  } catch (const CLI::ParseError& error) {
    arguments.status = reportUsageError(app, error);
    return arguments;
  }
  if (wantsMan)
    print(manPage(app));
  else if (!shell.empty())
    print(bashCompletion(app));
  else if (app.get_subcommands().empty())
    print(app.help());
  else
    arguments.command = commandNamed(app.get_subcommands().front()->get_name());
  if (arguments.command == Command::Convert) arguments.workerArguments = argumentsForWorker(app);
  return arguments;
}

}  // namespace vemko::cli
