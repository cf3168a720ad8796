#pragma once
// The JSON forms of results. Strings are valid UTF-8 whatever the names in files hold.
#include <span>
#include <string>
#include <vector>

#include "app/batch.h"
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
/// With what was mended or dropped while it was read.
std::string collectionJson(const Collection& collection, std::span<const std::string> notes);
std::string toolsJson(std::span<const tools::ToolEntry* const> tools);
/// One file that came out of these, what it lost and what was told on the way, as one line without its end.
std::string conversionJson(std::span<const Path> inputs, const app::BatchOutput& output,
                           std::span<const std::string> notes);
/// What was made of these files, as one line without its end.
std::string processJson(const tools::ToolEntry& tool, std::span<const std::string> files,
                        const app::ProcessResult& result);

}  // namespace vemko::cli
