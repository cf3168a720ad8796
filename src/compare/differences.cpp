#include "compare/differences.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/text.h"

namespace vemko::compare {

std::u16string decimalText(double value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, 7);
  return toUtf16(std::string_view(digits, static_cast<std::size_t>(end.ptr - digits)));
}

void Differences::add(std::u16string_view what, std::u16string first, std::u16string second) {
  list_.push_back({where_, std::u16string(what), std::move(first), std::move(second), features_});
}

void Differences::text(std::u16string_view what, std::u16string_view first, std::u16string_view second) {
  if (first != second)
    add(what, u"\"" + std::u16string(first) + u"\"", u"\"" + std::u16string(second) + u"\"");
}

void Differences::whole(std::u16string_view what, std::int64_t first, std::int64_t second) {
  if (first != second) add(what, toUtf16(std::to_string(first)), toUtf16(std::to_string(second)));
}

void Differences::number(std::u16string_view what, double first, double second, double step,
                         std::u16string_view unit) {
  // A float's own rounding is no difference.
  const double rounding = 1e-6 * std::max(std::fabs(first), std::fabs(second));
  if (std::fabs(first - second) <= step * options_.tolerance + rounding) return;
  const std::u16string behind = unit.empty() ? u"" : u" " + std::u16string(unit);
  add(what, decimalText(first) + behind, decimalText(second) + behind);
}

FeatureMask featureOfText(const Item& item, TextProperty property) {
  if (item.kind() == ItemKind::Waveform) return featureBit(features::WaveTexts);
  if (item.kind() == ItemKind::Instrument) return featureBit(features::InstrumentTexts);
  const bool isCredit = property == TextProperty::Artist || property == TextProperty::Engineer;
  return featureBit(features::Texts) |
         (item.kind() == ItemKind::Collection && isCredit ? featureBit(features::Artists) : 0);
}

// One that its file gave, and no other name that there happened to be.
bool isNameOfFile(const Item& item, const Options& options) {
  // Names in files may lose spaces at their ends.
  const std::u16string_view name = trimmed(item.name());
  return (item.kind() == ItemKind::Collection && name == kNewCollectionName) ||
         std::ranges::any_of(options.fileNames, [&](auto& each) { return trimmed(each) == name; });
}

// The sides of a stereo waveform that was split have names of their own.
FeatureMask featureOfName(const Item& first, const Item& second) {
  const auto *a = dynamic_cast<const Waveform*>(&first), *b = dynamic_cast<const Waveform*>(&second);
  return a && b && a->channels != b->channels ? featureBit(features::PannedStereo) : FeatureMask();
}

void compareTexts(const Item& first, const Item& second, Differences& differences) {
  for (TextProperty property : kTextProperties) {
    if (property == TextProperty::SourceFile || property == TextProperty::Image) continue;
    const bool isName = property == TextProperty::Name;
    const Options& options = differences.options();
    if (first.text(property) == second.text(property) ||
        (isName && (isNameOfFile(first, options) || isNameOfFile(second, options))))
      continue;
    differences.need(isName ? featureOfName(first, second) : featureOfText(first, property));
    differences.text(isName ? u"name" : textPropertyLabel(property), first.text(property),
                     second.text(property));
  }
  differences.need(featureBit(features::Images));
  if (!std::ranges::equal(first.image(), second.image()))
    differences.add(u"Image", decimalText(static_cast<double>(first.image().size())) + u" bytes",
                    decimalText(static_cast<double>(second.image().size())) + u" bytes");
  differences.need(0);
}

}  // namespace vemko::compare
