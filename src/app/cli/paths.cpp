#include "app/cli/paths.h"

#include "app/cli/output.h"
#include "base/last_error.h"
#include "base/text.h"
#include "platform/folders.h"

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
  if (createFolders(folder)) return true;
  printError(toUtf8(textOf(folder)), toUtf8(lastError()));
  return false;
}

}  // namespace vemko::cli
