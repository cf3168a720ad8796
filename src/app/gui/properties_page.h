#pragma once
#include <optional>
#include <utility>
#include <vector>
#include <wx/panel.h>

#include "core/collection.h"

namespace vemko::gui {

/// One page of the properties dialog. Shows what its items have in common and, when the user is done, writes
/// what was changed into all of them.
class PropertiesPage : public wxPanel {
 public:
  using Items = std::vector<Item*>;  ///< At least one, each of a kind that the page can show.

  PropertiesPage(wxWindow* parent, Items items) : wxPanel(parent), items_(std::move(items)) {}

  /// False with the last error message set, and the field that is wrong focused, when one cannot be taken.
  virtual bool check() { return true; }
  /// Writes what was changed; after a check().
  virtual void store() = 0;
  virtual bool isModified() const { return modified_; }

 protected:
  const Items& items() const { return items_; }
  Item& first() const { return *items_.front(); }
  bool hasSeveral() const { return items_.size() > 1; }
  void noteModified() { modified_ = true; }

  /// What get(item) gives for all of them; nothing where they differ.
  template <class Get>
  auto common(Get get) const {
    std::optional value = get(std::as_const(first()));
    for (const Item* item : items_)
      if (get(*item) != *value) return decltype(value){};
    return value;
  }

 private:
  Items items_;
  bool modified_ = false;
};

/// Stands, in grey, in a field whose items differ.
inline constexpr const char* kSeveralValues = "(several values)";

}  // namespace vemko::gui
