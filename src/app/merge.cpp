#include "app/merge.h"

namespace vemko::app {
namespace {

bool isMerged(TextProperty property) {
  return property != TextProperty::Name && property != TextProperty::SourceFile &&
         property != TextProperty::Image;
}

}  // namespace

void Merge::add(Collection& source) {
  for (std::size_t i = 0; i < texts_.size(); ++i) {
    const std::u16string& text = source.text(kTextProperties[i]);
    if (text.empty() || !isMerged(kTextProperties[i]) || !texts_[i].known.insert(text).second) continue;
    const bool hasLines = kTextProperties[i] == TextProperty::Comments;
    if (!texts_[i].all.empty()) texts_[i].all += hasLines ? u"\n" : u"; ";
    texts_[i].all += text;
  }
  if (result_.image().empty()) result_.shareImage(source);
  result_.absorb(source);
}

void Merge::finish() {
  for (std::size_t i = 0; i < texts_.size(); ++i)
    if (isMerged(kTextProperties[i])) result_.setText(kTextProperties[i], texts_[i].all);
}

}  // namespace vemko::app
