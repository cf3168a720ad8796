#pragma once
// From text to headers and opcodes: comments, "#define" and "#include" are dealt with here.
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/files.h"

namespace vemko::sfz {

/// Where something stands: the index of the file (Lexer::fileName) and its line, from 1.
struct Place {
  std::uint32_t file = 0;
  std::uint32_t line = 0;
};

/// Receives what the text says, in its order. The views stay valid as long as the lexer.
struct LexerEvents {
  /// The word between the angle brackets.
  std::function<void(std::string_view header, Place)> header;
  /// Name and value, without the white space around them.
  std::function<void(std::string_view name, std::string_view value, Place)> opcode;
  /// A line that is nothing but a comment which begins with "/// ": what follows.
  std::function<void(std::string_view comment, Place)> title;
};

/// Include files stay within bounds: 32 levels deep, and never one that is open already. Texts of "#define"
/// are put in place once; what they expand to is bounded, so that definitions of definitions cannot explode.
class Lexer {
 public:
  Lexer(Path folder, LexerEvents events);
  ~Lexer();

  /// The main file's text; false with the last error message set when includes or definitions go beyond the
  /// bounds.
  bool read(std::string_view text, const Path& file);
  /// For the log.
  std::u16string fileName(std::uint32_t index) const;

 private:
  struct IncludedFile;

  bool readText(std::string_view text);
  bool readLine(std::string_view line);
  std::string_view withoutComments(std::string_view line);
  bool readOpcodes(std::string_view text);
  bool readDirective(std::string_view& rest);
  bool define(std::string_view& rest);
  bool include(std::string_view& rest);
  bool includeFile(std::string_view stored);
  std::optional<Path> findIncluded(std::u16string_view name) const;
  bool isOpen(const Path& path) const;
  void tokenize(std::string_view text);
  bool expand(std::string_view text, std::string& result, std::size_t limit);
  std::string_view kept(std::string text);

  Path folder_;
  LexerEvents events_;
  Place place_;
  bool inBlockComment_ = false;
  std::vector<Path> files_;
  std::vector<Path> open_;
  std::deque<std::unique_ptr<IncludedFile>> included_;
  std::deque<std::string> expansions_;
  std::unordered_map<std::string, std::string> definitions_;
  std::vector<std::uint8_t> nameLengths_;  // of the definitions, longest first
  std::size_t expandedBytes_ = 0;
  std::size_t includedBytes_ = 0;
};

}  // namespace vemko::sfz
