#pragma once
// The options of every command, and what is made from their definitions.
#include <string>

#include "app/cli/arguments.h"

namespace CLI {
class App;
}

namespace vemko::cli {

/// Adds the commands and options; values go to `arguments` when the command line is parsed.
void defineCommands(CLI::App& app, Arguments& arguments);

/// The manual page, in the roff of man(7).
std::string manPage(const CLI::App& app);
/// Completion of commands, options, their values and file names for bash.
std::string bashCompletion(const CLI::App& app);

}  // namespace vemko::cli
