#include "io/decisions.h"

#include <algorithm>
#include <utility>

namespace vemko::io {
namespace {
Decisions current;
}

Decisions setDecisions(Decisions decisions) { return std::exchange(current, std::move(decisions)); }

std::size_t ask(std::u16string_view question, std::span<const std::u16string_view> buttons) {
  const std::size_t last = buttons.empty() ? 0 : buttons.size() - 1;
  return current.ask ? std::min(current.ask(question, buttons), last) : last;
}

std::optional<Path> locateFile(std::u16string_view title, std::u16string_view wanted) {
  return current.locateFile ? current.locateFile(title, wanted) : std::nullopt;
}

std::optional<RawFormat> confirmRaw(std::u16string_view question, const Path& file) {
  return current.confirmRaw ? current.confirmRaw(question, file) : std::nullopt;
}

}  // namespace vemko::io
