#pragma once
// The JSON forms of results. Strings are valid UTF-8 whatever the names in files hold.
#include <span>
#include <string>
#include <vector>

#include "core/collection.h"
#include "io/detect.h"

namespace vemko::cli {

struct DetectedFile {
  std::string path;
  io::Detection detection;
};

std::string formatsJson(std::span<const int> rows);
std::string detectionsJson(std::span<const DetectedFile> files);
std::string collectionJson(const Collection& collection);

}  // namespace vemko::cli
