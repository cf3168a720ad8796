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

FeatureMask featureOfTexts(const Item& item) {
  if (item.kind() == ItemKind::Waveform) return featureBit(features::WaveTexts);
  return featureBit(item.kind() == ItemKind::Instrument ? features::InstrumentTexts : features::Texts);
}

// The sides of a stereo waveform that was split have names of their own.
FeatureMask featureOfName(const Item& first, const Item& second) {
  const auto *a = dynamic_cast<const Waveform*>(&first), *b = dynamic_cast<const Waveform*>(&second);
  return a && b && a->channels != b->channels ? featureBit(features::PannedStereo) : FeatureMask();
}

void compareTexts(const Item& first, const Item& second, Differences& differences) {
  // Names in files may lose spaces at their ends.
  const auto isOfFile = [&](std::u16string_view name) {
    return std::ranges::any_of(differences.options().fileNames,
                               [&](std::u16string_view each) { return trimmed(each) == trimmed(name); });
  };
  for (TextProperty property : kTextProperties) {
    if (property == TextProperty::SourceFile || property == TextProperty::Image) continue;
    if (property == TextProperty::Name && (isOfFile(first.name()) || isOfFile(second.name()))) continue;
    differences.need(property == TextProperty::Name ? featureOfName(first, second) : featureOfTexts(first));
    differences.text(property == TextProperty::Name ? u"name" : textPropertyLabel(property),
                     first.text(property), second.text(property));
  }
  differences.need(featureBit(features::Images));
  if (!std::ranges::equal(first.image(), second.image()))
    differences.add(u"Image", decimalText(static_cast<double>(first.image().size())) + u" bytes",
                    decimalText(static_cast<double>(second.image().size())) + u" bytes");
  differences.need(0);
}

}  // namespace vemko::compare
