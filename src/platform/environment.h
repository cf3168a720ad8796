#pragma once
#include <optional>
#include <string>
#include <vector>

namespace vemko {

/// The environment variable of that name as UTF-8; nothing when there is none.
std::optional<std::string> environmentValue(const char* name);

/// What main() was given, with the program's name, as UTF-8 (on POSIX systems whatever bytes they are). Where
/// the system leaves wildcards to its programs, "*" and "?" in the last part of an argument that is no option
/// stand for the files of such names, in alphabetical order, if there are any.
std::vector<std::string> programArguments(int count, char** values);

}  // namespace vemko
