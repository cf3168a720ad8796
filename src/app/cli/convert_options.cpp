#include "app/cli/convert_options.h"

#include <algorithm>
#include <cmath>

#include "app/cli/names.h"
#include "app/cli/output.h"
#include "app/cli/paths.h"
#include "base/text.h"

namespace vemko::cli {
namespace {

std::nullopt_t refuse(const std::string& message) {
  usageError(message, "vemko convert --help");
  return std::nullopt;
}

std::string quotedRow(int row) {
  return std::string("\"").append(toUtf8(io::descriptionOf(row))).append("\"");
}

std::optional<int> rowOf(const ConvertArguments& arguments, KindMask kinds) {
  const bool named = !arguments.to.empty();
  const std::u16string to =
      named ? toUtf16(arguments.to) : textOf(pathOf(toUtf16(arguments.output)).extension());
  if (to.empty()) return refuse("no target format: give --to, or an extension to the -o file");
  int row = named ? io::findWritingRowByDescription(to) : io::kNoRow;
  if (row == io::kNoRow) row = io::findWritingRow(to, kinds);
  if (row != io::kNoRow) return row;
  const bool exists = io::findWritingRow(to, 0xFF) != io::kNoRow;
  return refuse("no format \"" + toUtf8(to) + "\" can be written" +
                (exists ? " that holds a " + arguments.kind : "") + "; see 'vemko formats --writable'");
}

// A song can also become its sound.
bool canMake(int row, ItemKind kind) {
  return io::canHold(row, kind) || (kind == ItemKind::Song && io::canHold(row, ItemKind::Waveform));
}

std::optional<io::CapabilityMask> requestedOf(const ConvertArguments& arguments, int row) {
  const io::CapabilityMask capabilities = io::capabilitiesOf(row).capabilities;
  io::CapabilityMask requested = 0;
  if (auto encoding = encodingOf(arguments.encoding)) {
    requested |= io::encodingBit(*encoding);
    if (!(capabilities & requested))
      return refuse(quotedRow(row) + " has no encoding " + arguments.encoding + "; it has " +
                    encodingList(capabilities, ", "));
  }
  const bool hasStereo = (capabilities & (io::kStereo | io::kLinkedStereo)) != 0;
  if (arguments.channels == "mono") requested |= io::kMono;
  if (arguments.channels == "stereo") requested |= io::kStereo;
  if ((arguments.channels == "mono" && !(capabilities & io::kMono)) ||
      (arguments.channels == "stereo" && !hasStereo))
    return refuse(quotedRow(row) + " does not hold " + arguments.channels);
  return requested;
}

// The compression setting whose bit rate is the nearest.
std::optional<std::uint32_t> settingOf(double kilobits, int row) {
  const io::SettingDescriber describe = io::formatRow(row)->settings;
  if (kilobits == 0) return 0;
  if (!describe) return refuse(quotedRow(row) + " has no choice of bit rates");
  const std::uint32_t variant = io::formatRow(row)->variant;
  int nearest = 0;
  const auto distance = [&](int setting) { return std::abs(describe(setting, variant, nullptr) - kilobits); };
  for (int setting = 1; describe(setting, variant, nullptr) > 0; ++setting)
    if (distance(setting) < distance(nearest)) nearest = setting;
  return static_cast<std::uint32_t>(nearest);
}

io::SampleFiles sampleFilesOf(std::string_view name) {
  if (name == "flac") return io::SampleFiles::Flac;
  return name == "ogg" ? io::SampleFiles::Ogg : io::SampleFiles::Wav;
}

app::OnExists onExistsOf(std::string_view name) {
  if (name == "rename") return app::OnExists::Rename;
  if (name == "skip") return app::OnExists::Skip;
  return name == "fail" ? app::OnExists::Fail : app::OnExists::Overwrite;
}

}  // namespace

std::optional<app::BatchTarget> targetOf(const ConvertArguments& arguments) {
  app::BatchTarget target;
  target.kind = kindOfName(arguments.kind);
  const auto row = rowOf(arguments, target.kind ? kindBit(*target.kind) : 0xFF);
  if (!row) return std::nullopt;
  target.row = *row;
  if (target.kind && !canMake(*row, *target.kind))
    return refuse(quotedRow(*row) + " does not hold a " + arguments.kind);
  const auto requested = requestedOf(arguments, *row);
  if (!requested) return std::nullopt;
  target.requested = *requested;
  const auto setting = settingOf(arguments.bitRate, *row);
  if (!setting) return std::nullopt;
  target.setting = *setting;
  target.sampleFiles = sampleFilesOf(arguments.sampleFiles);
  target.onExists = onExistsOf(arguments.onExists);
  target.allowRawImport = arguments.raw;
  target.reportLosses = arguments.report || arguments.json;
  return target;
}

bool checkDestination(const ConvertArguments& arguments) {
  const std::string& output = arguments.output;
  if (output.empty() && arguments.folder.empty())
    refuse("no target: give -o FILE or -d DIR");
  else if (output == "-")
    refuse("-o -: standard output can not be written to, give a file");
  else if (!output.empty() && arguments.inputs.size() > 1 && !arguments.merge)
    refuse("one output file for several inputs: give -d DIR, or --merge");
  else if (!output.empty() && folderExists(pathOf(toUtf16(output))))
    refuse("-o " + output + ": this is a folder, give it with -d");
  else
    return true;
  return false;
}

app::BatchPlan planOf(const ConvertArguments& arguments, const app::BatchTarget& target) {
  app::BatchPlan plan;
  for (const std::string& input : arguments.inputs) plan.inputs.push_back(absolutePath(input));
  if (!arguments.output.empty())
    plan.outputFile = absolutePath(arguments.output);
  else
    plan.outputFolder = absolutePath(arguments.folder);
  plan.merge = arguments.merge;
  plan.row = target.row;
  plan.onExists = target.onExists;
  return plan;
}

}  // namespace vemko::cli
