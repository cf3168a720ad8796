#include "app/cli/reading.h"

#include <utility>

#include "app/cli/names.h"
#include "app/cli/output.h"
#include "app/cli/paths.h"
#include "base/text.h"
#include "io/decisions.h"
#include "io/fixup.h"

namespace vemko::cli {
namespace {

constexpr std::string_view kUse = "use=";
// The bank of ROM samples is asked for by this name, in questions and in dialogs.
constexpr std::u16string_view kRomBank = u"1mgm.sf2";

io::RawFormat rawFormatOf(const ConvertArguments& arguments) {
  return {.encoding = encodingOf(arguments.rawEncoding).value_or(SampleEncoding::Pcm16),
          .bigEndian = arguments.rawBigEndian,
          .signed8 = arguments.rawSigned,
          .channels = static_cast<std::uint8_t>(arguments.rawChannels),
          .rate = arguments.rawRate,
          .headerBytes = arguments.rawSkip};
}

io::Decisions decisionsOf(const ConvertArguments& arguments) {
  std::optional<Path> romBank;
  if (arguments.rom.starts_with(kUse))
    romBank = absolutePath(std::string_view(arguments.rom).substr(kUse.size()));
  io::Decisions decisions;
  decisions.ask = [=, answer = arguments.answer](
                      std::u16string_view question,
                      std::span<const std::u16string_view> buttons) -> std::optional<std::size_t> {
    const bool isRom = question.find(kRomBank) != question.npos;
    if (answer.empty() && !isRom) return std::nullopt;
    return (isRom ? romBank.has_value() : answer == "yes") ? 0 : buttons.size() - 1;
  };
  decisions.locateFile = [=](std::u16string_view title, std::u16string_view) {
    return title.find(kRomBank) != title.npos ? romBank : std::nullopt;
  };
  if (arguments.raw)
    decisions.confirmRaw = [raw = rawFormatOf(arguments)](std::u16string_view, const Path&) {
      return std::optional(raw);
    };
  return decisions;
}

const io::FixupStep* findStep(std::string_view name) {
  for (const io::FixupStep& step : io::fixupSteps())
    if (step.option && step.name == name) return &step;
  return nullptr;
}

bool applyFixup(const std::string& text) {
  const std::size_t equals = text.find('=');
  const io::FixupStep* step = findStep(text.substr(0, equals));
  const std::string value = equals == text.npos ? "" : text.substr(equals + 1);
  if (!step || (value != "0" && value != "1")) {
    usageError("--fixup: \"" + text + "\" is not NAME=0 or NAME=1 of a known step", "vemko convert --help");
    return false;
  }
  io::fixupOptions().*step->option = value == "1";
  return true;
}

}  // namespace

NoteCollector::NoteCollector() {
  before_ = setLogSink([this](LogLevel level, std::u16string_view line) {
    if (level != LogLevel::Warning) return;
    std::lock_guard lock(guard_);
    ++count_;
    if (notes_.size() < kMost)
      notes_.push_back(toUtf8(line));
    else
      ++leftOut_;
  });
}

NoteCollector::~NoteCollector() { setLogSink(std::move(before_)); }

std::vector<std::string> NoteCollector::take() {
  std::lock_guard lock(guard_);
  if (leftOut_ > 0) notes_.push_back("and " + std::to_string(std::exchange(leftOut_, 0)) + " more notes");
  return std::exchange(notes_, {});
}

bool applyReadingOptions(const ConvertArguments& arguments) {
  if (arguments.rom != "skip" && !arguments.rom.starts_with(kUse)) {
    usageError("--rom: \"" + arguments.rom + "\" is neither use=PATH nor skip", "vemko convert --help");
    return false;
  }
  io::setDecisions(decisionsOf(arguments));
  if (arguments.noFixup)
    for (const io::FixupStep& step : io::fixupSteps())
      if (step.option) io::fixupOptions().*step.option = false;
  for (const std::string& text : arguments.fixups)
    if (!applyFixup(text)) return false;
  return true;
}

}  // namespace vemko::cli
