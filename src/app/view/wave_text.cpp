#include <algorithm>

#include "app/view/ruler.h"
#include "app/view/wave_flags.h"
#include "base/text.h"

namespace vemko::view {
namespace {

constexpr std::size_t kLongestName = 60;

std::u16string wordsOf(const LoopRecord& record, bool isMainLoop) {
  if (record.type != RecordType::Loop) return std::u16string(displayWord(record.type));
  std::u16string words(displayWord(record.play));
  words = (isMainLoop ? u"Main loop, " : u"Loop, ") + words;
  if (record.play != LoopPlay::Off) (words += u", ") += displayWord(record.count);
  if (record.tuneCents != 0) words += toUtf16(formatted(", %+d cents", record.tuneCents));
  return words;
}

std::string positionText(const char* label, std::uint32_t frame, std::uint8_t hundredths,
                         std::uint32_t rate) {
  std::string text = std::string("\n") + label + frameText(frame, hundredths);
  if (rate) text += " (" + timeText((frame + hundredths * 0.01) / rate) + ")";
  return text;
}

}  // namespace

std::u16string shortName(std::u16string_view name) {
  std::u16string text(trimmed(name));
  std::ranges::replace_if(
      text, [](char16_t c) { return c < 32; }, u' ');
  if (text.size() <= kLongestName) return text;
  text.resize(kLongestName - 1);
  return text + u'\u2026';
}

std::u16string recordDescription(const LoopRecord& record, bool isMainLoop, std::uint32_t rate) {
  std::u16string text = shortName(record.name);
  if (!text.empty()) text += u'\n';
  text += wordsOf(record, isMainLoop);
  if (record.type == RecordType::PositionMarker)
    return text + toUtf16(positionText("At ", record.start, record.startHundredths, rate));
  text += toUtf16(positionText("Start ", record.start, record.startHundredths, rate));
  text += toUtf16(positionText("End ", record.end, record.endHundredths, rate));
  const std::int64_t length = std::int64_t{record.end} * 100 + record.endHundredths -
                              std::int64_t{record.start} * 100 - record.startHundredths;
  if (length <= 0) return text;
  return text + toUtf16(positionText("Length ", static_cast<std::uint32_t>(length / 100),
                                     static_cast<std::uint8_t>(length % 100), rate));
}

}  // namespace vemko::view
