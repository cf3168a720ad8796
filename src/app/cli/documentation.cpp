#include <CLI/CLI.hpp>
#include <algorithm>

#include "app/cli/definition.h"
#include "base/text.h"
#include "base/version.h"

namespace vemko::cli {
namespace {

bool isShown(const CLI::App& command) { return !command.get_group().empty(); }
bool isShown(const CLI::Option& option) { return !option.get_group().empty(); }

std::vector<const CLI::App*> shownCommands(const CLI::App& app) {
  std::vector<const CLI::App*> commands;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App* each) { return isShown(*each); }))
    commands.push_back(command);
  return commands;
}

std::vector<const CLI::Option*> shownOptions(const CLI::App& command) {
  std::vector<const CLI::Option*> options;
  for (const CLI::Option* option : command.get_options())
    if (isShown(*option) && !option->get_positional()) options.push_back(option);
  return options;
}

bool takesValue(const CLI::Option& option) { return option.get_type_size_max() > 0; }

// roff takes a leading dot or apostrophe for a request, and hyphens and backslashes for its own.
std::string escaped(std::string_view text) {
  std::string result;
  for (char c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n')) result += "\\&";
      result += c;
    }
  }
  return result;
}

// The parser puts what it checks behind the type's word: "KIND:{a,b,c}".
std::string typeWord(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  return type.substr(0, type.find(':'));
}

// The words that an option takes, separated by blanks; empty when it takes anything.
std::string choicesOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t begin = type.find('{'), end = type.find('}');
  if (begin == type.npos || end == type.npos || end < begin) return "";
  std::string words = type.substr(begin + 1, end - begin - 1);
  std::ranges::replace(words, ',', ' ');
  return words;
}

std::string optionTerm(const CLI::Option& option) {
  std::string term;
  for (const std::string& name : option.get_snames())
    term += (term.empty() ? "" : ", ") + std::string("\\fB\\-") + name + "\\fR";
  for (const std::string& name : option.get_lnames())
    term += (term.empty() ? "" : ", ") + ("\\fB" + escaped("--" + name)) + "\\fR";
  if (takesValue(option)) term += " \\fI" + escaped(typeWord(option)) + "\\fR";
  return term;
}

void appendOptions(std::string& page, const CLI::App& command) {
  for (const CLI::Option* option : shownOptions(command)) {
    page += ".TP\n" + optionTerm(*option) + "\n" + escaped(option->get_description());
    const std::string choices = choicesOf(*option);
    page += (choices.empty() ? "" : ": " + escaped(choices)) + "\n";
  }
}

std::string synopsisOf(const CLI::App& command, const std::string& prefix) {
  std::string line = ".B " + escaped(prefix + command.get_name()) + "\n";
  if (!shownOptions(command).empty()) line += "[\\fIoptions\\fR]\n";
  for (const CLI::Option* option : command.get_options())
    if (option->get_positional())
      line +=
          "\\fI" + option->get_name(true) + "\\fR" + (option->get_items_expected_max() > 1 ? " ...\n" : "\n");
  return line + ".br\n";
}

void appendSynopsis(std::string& page, const CLI::App& app, const std::string& prefix) {
  for (const CLI::App* command : shownCommands(app)) {
    if (shownCommands(*command).empty())
      page += synopsisOf(*command, prefix);
    else
      appendSynopsis(page, *command, prefix + command->get_name() + " ");
  }
}

void appendCommands(std::string& page, const CLI::App& app, const std::string& prefix) {
  for (const CLI::App* command : shownCommands(app)) {
    page +=
        ".SS " + escaped(prefix + command->get_name()) + "\n" + escaped(command->get_description()) + "\n";
    appendOptions(page, *command);
    if (!command->get_footer().empty()) page += ".PP\n" + escaped(command->get_footer()) + "\n";
    appendCommands(page, *command, prefix + command->get_name() + " ");
  }
}

constexpr char kEnd[] =
    ".SH EXIT STATUS\n"
    "0 when everything was done, 1 when some input failed, each with one line on standard error, 2 when the\n"
    "command line was not understood.\n"
    ".SH FILES\n"
    ".TP\n"
    ".I $XDG_CONFIG_HOME/vemko\\-studio/\n"
    "The settings, shared with the window program; \\fI~/.config\\fR where the variable is not set.\n"
    ".SH EXAMPLES\n"
    ".nf\n"
    "vemko convert drums.wav \\-o drums24.wav \\-\\-encoding pcm24\n"
    "vemko convert *.wav \\-d out \\-\\-to wav \\-\\-channels mono \\-\\-jobs 0\n"
    "vemko info drums.wav \\-\\-json\n"
    "vemko process \"Normalize volume\" *.wav \\-d loud \\-\\-set level=89 \\-\\-jobs 0\n"
    ".fi\n";

std::string optionWords(const CLI::App& command) {
  std::string words;
  for (const CLI::Option* option : shownOptions(command))
    for (const std::string& name : option->get_lnames()) words += (words.empty() ? "--" : " --") + name;
  return words;
}

std::string commandWords(const CLI::App& app) {
  std::string words;
  for (const CLI::App* command : shownCommands(app))
    words += (words.empty() ? "" : " ") + command->get_name();
  return words;
}

std::string casesOfValues(const CLI::App& app) {
  std::string cases;
  for (const CLI::App* command : shownCommands(app))
    for (const CLI::Option* option : shownOptions(*command)) {
      const std::string words = choicesOf(*option);
      if (words.empty()) continue;
      for (const std::string& name : option->get_lnames())
        cases += formatted("    %s:--%s) choices=\"%s\" ;;\n", command->get_name().c_str(), name.c_str(),
                           words.c_str());
    }
  return cases;
}

std::string casesOfWords(const CLI::App& app) {
  std::string cases;
  for (const CLI::App* command : shownCommands(app)) {
    std::string words = commandWords(*command);
    words.append(words.empty() ? "" : " ").append(optionWords(*command));
    cases += formatted("    %s) words=\"%s\" ;;\n", command->get_name().c_str(), words.c_str());
  }
  return cases;
}

}  // namespace

std::string manPage(const CLI::App& app) {
  std::string page =
      std::string(".TH VEMKO 1 \"\" \"") + kProductName + " " + kVersion + "\" \"User Commands\"\n";
  page +=
      ".SH NAME\nvemko \\- convert, inspect and process audio files, sampler instruments and songs\n.SH "
      "SYNOPSIS\n";
  appendSynopsis(page, app, "vemko ");
  page += ".SH DESCRIPTION\n" + escaped(app.get_description()) + "\n.SH OPTIONS\n";
  appendOptions(page, app);
  page += ".SH COMMANDS\n";
  appendCommands(page, app, "");
  return page + kEnd;
}

std::string bashCompletion(const CLI::App& app) {
  return "# bash completion for vemko\n"
         "_vemko() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} "
         "command=${COMP_WORDS[1]}\n"
         "  local words=\"\" choices=\"\"\n"
         "  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    COMPREPLY=($(compgen -W \"" +
         commandWords(app) + " " + optionWords(app) +
         "\" -- \"$current\"))\n"
         "    return\n"
         "  fi\n"
         "  case \"$command:$before\" in\n" +
         casesOfValues(app) +
         "  esac\n"
         "  case \"$command\" in\n" +
         casesOfWords(app) +
         "  esac\n"
         "  if [ -n \"$choices\" ]; then\n"
         "    COMPREPLY=($(compgen -W \"$choices\" -- \"$current\"))\n"
         "  elif [[ $current == -* || $command == config ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
         "  fi\n"
         "}\n"
         "complete -o default -F _vemko vemko\n";
}

}  // namespace vemko::cli
