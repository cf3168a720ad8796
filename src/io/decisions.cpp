#include "io/decisions.h"

#include <utility>

namespace vemko::io {
namespace {
Decisions current;
}

Decisions setDecisions(Decisions decisions) { return std::exchange(current, std::move(decisions)); }

std::size_t ask(std::u16string_view question, std::span<const std::u16string_view> buttons,
                std::size_t cautious) {
  const auto chosen = current.ask ? current.ask(question, buttons) : std::nullopt;
  return chosen && *chosen < buttons.size() ? *chosen : cautious;
}

std::optional<Path> locateFile(std::u16string_view title, std::u16string_view wanted) {
  return current.locateFile ? current.locateFile(title, wanted) : std::nullopt;
}

std::optional<RawFormat> confirmRaw(std::u16string_view question, const Path& file) {
  return current.confirmRaw ? current.confirmRaw(question, file) : std::nullopt;
}

}  // namespace vemko::io
