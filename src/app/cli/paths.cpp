#include "app/cli/paths.h"

#include "app/cli/output.h"
#include "base/text.h"

namespace vemko::cli {

Path absolutePath(std::string_view text) {
  std::error_code error;
  const Path path = pathOf(toUtf16(text));
  Path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute;
}

Path currentFolder() {
  std::error_code error;
  return std::filesystem::current_path(error);
}

bool createFolder(const Path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (folderExists(folder)) return true;
  printError(toUtf8(textOf(folder)), "Could not create folder");
  return false;
}

}  // namespace vemko::cli
