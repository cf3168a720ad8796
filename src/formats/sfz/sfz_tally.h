#pragma once
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "formats/sfz/sfz_lexer.h"

namespace vemko::sfz {

/// What a reader could not use, told once each: how often, and on which line first.
class Tally {
 public:
  void add(std::u16string_view complaint, std::string_view opcode, Place place);
  void report(const Lexer& lexer) const;

 private:
  struct Entry {
    std::size_t count = 0;
    Place first;
  };
  std::map<std::pair<std::u16string_view, std::string>, Entry> entries_;
  std::size_t others_ = 0;
};

}  // namespace vemko::sfz
