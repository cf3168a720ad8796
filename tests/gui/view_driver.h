#pragma once
// Moves the pointer and presses keys in a view that stands in a window of its own.
#include <chrono>
#include <functional>
#include <wx/app.h>
#include <wx/frame.h>
#include <wx/uiaction.h>
#include <wx/utils.h>

namespace vemko::gui::test {

/// Lets events through until the condition holds; false when it does not within some seconds.
inline bool waitUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    wxYield();
    wxMilliSleep(5);
  }
  return true;
}

/// Lets events through for a moment, for what must not happen or cannot be asked for.
inline void settle(int milliseconds = 150) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  waitUntil([&] { return std::chrono::steady_clock::now() > end; });
}

inline wxPoint onScreen(const wxWindow& window, int x, int y) { return window.ClientToScreen(wxPoint(x, y)); }

inline void clickAt(const wxWindow& window, int x, int y) {
  wxUIActionSimulator user;
  user.MouseMove(onScreen(window, x, y));
  settle(60);
  user.MouseClick();
  settle(60);
}

/// From `x` to `toX` with the button down; `release` false leaves it down.
inline void drag(const wxWindow& window, int x, int toX, int y, bool release = true) {
  wxUIActionSimulator user;
  user.MouseMove(onScreen(window, x, y));
  settle(60);
  user.MouseDown();
  settle(60);
  for (int step = 1; step <= 4; ++step) {
    user.MouseMove(onScreen(window, x + (toX - x) * step / 4, y));
    settle(30);
  }
  if (release) user.MouseUp();
  settle(60);
}

inline void press(int key, int modifiers = wxMOD_NONE) {
  wxUIActionSimulator().Char(key, modifiers);
  settle(60);
}

}  // namespace vemko::gui::test
