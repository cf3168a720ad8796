#include "formats/dls/dls_conditions.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

namespace vemko::dls {
namespace {

enum class Operator : std::uint16_t {
  And = 1,
  Or,
  Xor,
  Add,
  Subtract,
  Multiply,
  Divide,
  LogicalAnd,
  LogicalOr,
  Less,
  LessOrEqual,
  Greater,
  GreaterOrEqual,
  Equal,
  Not,
  Constant,
  Query,
  QuerySupported,
};

using Id = std::array<std::uint8_t, 16>;  // as in a file

struct Answer {
  Id id;
  std::uint32_t value;
};
// clang-format off
constexpr Answer kAnswers[] = {
  {{0x24, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0x00, 0x00, 0xF8, 0x75, 0xAC, 0x12}, 0},           // General MIDI in hardware
  {{0x25, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0x00, 0x00, 0xF8, 0x75, 0xAC, 0x12}, 0},           // GS in hardware
  {{0x26, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0x00, 0x00, 0xF8, 0x75, 0xAC, 0x12}, 0},           // XG in hardware
  {{0x27, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0x00, 0x00, 0xF8, 0x75, 0xAC, 0x12}, 1},           // plays level 1
  {{0xE5, 0x99, 0x45, 0xF1, 0x89, 0x46, 0xD2, 0x11, 0xAF, 0xA6, 0x00, 0xAA, 0x00, 0x24, 0xD8, 0xB6}, 1},           // plays level 2
  {{0x28, 0x2F, 0x8F, 0x17, 0x64, 0xC3, 0xD1, 0x11, 0xA7, 0x60, 0x00, 0x00, 0xF8, 0x75, 0xAC, 0x12}, 0x7FFFFFFF},  // sample memory in bytes
  {{0x13, 0xF7, 0x91, 0x2A, 0xBF, 0xA4, 0xD2, 0x11, 0xBB, 0xDF, 0x00, 0x60, 0x08, 0x33, 0xDB, 0xD8}, 44100},       // playback rate in Hz
  {{0x81, 0x11, 0x3E, 0xB0, 0x95, 0x80, 0xD2, 0x11, 0xA1, 0xEF, 0x00, 0x60, 0x08, 0x33, 0xDB, 0xD8}, 0},           // manufacturer
  {{0x82, 0x11, 0x3E, 0xB0, 0x95, 0x80, 0xD2, 0x11, 0xA1, 0xEF, 0x00, 0x60, 0x08, 0x33, 0xDB, 0xD8}, 0},           // product
};
// clang-format on

std::optional<std::uint32_t> answerTo(Bytes id) {
  for (const Answer& each : kAnswers)
    if (std::memcmp(id.data(), each.id.data(), each.id.size()) == 0) return each.value;
  return std::nullopt;
}

// x is the operand that was put there last.
std::optional<std::uint32_t> combine(Operator operation, std::uint32_t x, std::uint32_t y) {
  switch (operation) {
    case Operator::And:
      return x & y;
    case Operator::Or:
      return x | y;
    case Operator::Xor:
      return x ^ y;
    case Operator::Add:
      return x + y;
    case Operator::Subtract:
      return x - y;
    case Operator::Multiply:
      return x * y;
    case Operator::Divide:
      return y == 0 ? std::nullopt : std::optional(x / y);
    case Operator::LogicalAnd:
      return x != 0 && y != 0;
    case Operator::LogicalOr:
      return x != 0 || y != 0;
    case Operator::Less:
      return x < y;
    case Operator::LessOrEqual:
      return x <= y;
    case Operator::Greater:
      return x > y;
    case Operator::GreaterOrEqual:
      return x >= y;
    case Operator::Equal:
      return x == y;
    default:
      return std::nullopt;
  }
}

class Evaluator {
 public:
  explicit Evaluator(Bytes expression) : reader_(expression) {}

  std::optional<std::uint32_t> evaluate() {
    while (reader_.remaining() >= 2)
      if (!step(static_cast<Operator>(reader_.u16()))) return std::nullopt;
    return pop();
  }

 private:
  bool step(Operator operation) {
    switch (operation) {
      case Operator::Constant:
        stack_.push_back(reader_.u32());
        return reader_.ok;
      case Operator::Query:
      case Operator::QuerySupported: {
        const Bytes id = reader_.take(sizeof(Id));
        if (!reader_.ok) return false;
        const auto answer = answerTo(id);
        stack_.push_back(operation == Operator::Query ? answer.value_or(0) : answer.has_value());
        return true;
      }
      case Operator::Not: {
        const auto x = pop();
        if (x) stack_.push_back(*x == 0);
        return x.has_value();
      }
      default: {
        const auto x = pop(), y = pop();
        const auto result = x && y ? combine(operation, *x, *y) : std::nullopt;
        if (result) stack_.push_back(*result);
        return result.has_value();
      }
    }
  }

  std::optional<std::uint32_t> pop() {
    if (stack_.empty()) return std::nullopt;
    const std::uint32_t top = stack_.back();
    stack_.pop_back();
    return top;
  }

  ByteReader reader_;
  std::vector<std::uint32_t> stack_;
};

}  // namespace

bool isConditionMet(Bytes expression, Complaints& complaints) {
  const auto value = Evaluator(expression).evaluate();
  if (!value) complaints.add(u"A condition cannot be evaluated and is taken as met");
  return value.value_or(1) != 0;
}

}  // namespace vemko::dls
