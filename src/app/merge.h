#pragma once
// Several files as one collection.
#include <array>
#include <string>
#include <unordered_set>

#include "core/collection.h"

namespace vemko::app {

/// Joins collections, in time linear in their items. Of each text the result has every different one in the
/// order of the sources, as nobody's copyright or credit may go; its image is the first that there is, its
/// name stays.
class Merge {
 public:
  explicit Merge(Collection& result) : result_(result) {}
  /// Takes the items over.
  void add(Collection& source);
  /// To be called behind the last source: sets the texts.
  void finish();

 private:
  struct Text {
    std::u16string all;
    std::unordered_set<std::u16string> known;
  };
  Collection& result_;
  std::array<Text, std::size(kTextProperties)> texts_;
};

}  // namespace vemko::app
