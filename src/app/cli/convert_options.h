#pragma once
#include <optional>

#include "app/batch.h"
#include "app/cli/arguments.h"

namespace vemko::cli {

/// The target that the options name; nothing after a usage error was printed.
std::optional<app::BatchTarget> targetOf(const ConvertArguments& arguments);

/// Whether the options say in a sound way where the outputs go; false after a usage error was printed.
bool checkDestination(const ConvertArguments& arguments);
/// What goes where, with absolute paths.
app::BatchPlan planOf(const ConvertArguments& arguments, const app::BatchTarget& target);

}  // namespace vemko::cli
