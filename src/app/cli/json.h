#pragma once
// The JSON forms of results. Strings are valid UTF-8 whatever the names in files hold.
#include <span>
#include <string>
#include <vector>

#include "app/process_files.h"
#include "compare/compare.h"
#include "core/collection.h"
#include "io/detect.h"

namespace vemko::cli {

struct DetectedFile {
  std::string path;
  io::Detection detection;
};

std::string formatsJson(std::span<const int> rows);
std::string detectionsJson(std::span<const DetectedFile> files);
std::string comparisonJson(const compare::Report& report);
std::string collectionJson(const Collection& collection);
std::string toolsJson(std::span<const tools::ToolEntry* const> tools);
/// What was made of these files, as one line without its end.
std::string processJson(const tools::ToolEntry& tool, std::span<const std::string> files,
                        const app::ProcessResult& result);

}  // namespace vemko::cli
