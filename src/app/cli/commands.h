#pragma once
// The commands; each returns the exit status and prints for itself.
#include "app/cli/arguments.h"

namespace vemko::cli {

int runFormats(const FormatsArguments& arguments);
int runDetect(const DetectArguments& arguments);
int runInfo(const InfoArguments& arguments);
/// 0 when the files hold the same, 1 when they differ, 2 when one cannot be read.
int runCompare(const CompareArguments& arguments);
/// `workerArguments` start a worker process with the same options.
int runConvert(const ConvertArguments& arguments, std::vector<std::string> workerArguments);
/// Converts the tasks that come as lines on standard input.
int runConvertWorker(const ConvertArguments& arguments);
int runProcess(const ProcessArguments& arguments);
/// Processes the tasks that come as lines on standard input.
int runProcessWorker(const ProcessArguments& arguments);
int runConfig(const ConfigArguments& arguments);

/// Reads the user's settings into the records of the rooms that use them.
void useSettings();

}  // namespace vemko::cli
