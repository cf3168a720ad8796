#include "app/cli/commands.h"
#include "app/cli/json.h"
#include "app/cli/output.h"
#include "base/last_error.h"
#include "base/text.h"

namespace vemko::cli {
namespace {

bool detectFile(const Path& path, io::Detection& detection) {
  if (folderExists(path)) return fail(u"This is a folder");
  InputFile file;
  if (!file.open(path)) return fail(u"Could not open file");
  if (file.size() == 0) return fail(u"File is of zero size");
  detection = io::detect(path, file);
  return detection.confidence > 0 || fail(u"Not detected as any supported file type");
}

}  // namespace

int runDetect(const DetectArguments& arguments) {
  std::vector<DetectedFile> found;
  int status = kDone;
  for (const std::string& name : arguments.files) {
    DetectedFile file{.path = name, .detection = {}};
    if (!detectFile(pathOf(toUtf16(name)), file.detection)) {
      printError(name, toUtf8(lastError()));
      status = kSomeFailed;
    } else if (arguments.json) {
      found.push_back(file);
    } else {
      printLine(printable(name) + ": " + toUtf8(io::descriptionOf(file.detection.row)) + " (" +
                toUtf8(io::extensionOf(file.detection.row)) + "), " +
                std::to_string(file.detection.confidence) + "%");
    }
  }
  if (arguments.json) print(detectionsJson(found));
  return status;
}

}  // namespace vemko::cli
