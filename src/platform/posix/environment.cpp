#include "platform/environment.h"

#include <cstdlib>

namespace vemko {

std::optional<std::string> environmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::vector<std::string> programArguments(int count, char** values) { return {values, values + count}; }

}  // namespace vemko
