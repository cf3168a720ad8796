#pragma once
#include <span>
#include <vector>

#include "app/gui/properties_page.h"

namespace vemko::gui {

enum class FieldType { Whole, Decimal, Key, KeyOrNone, Check, Choice };

/// One number of an item: how it is shown, its bounds, and the field it stands for.
struct ItemField {
  const char* label;
  const char* note;  ///< Behind the control: a unit or a remark.
  FieldType type;
  double minimum;
  double maximum;
  double (*get)(const Item&);
  void (*set)(Item&, double);
  std::span<const char* const> choices = {};
};

/// The fields of an item of that kind; none for kinds that have only texts.
std::span<const ItemField> fieldsOf(ItemKind kind);

/// A page made from the fields of the item's kind.
class FieldPage : public PropertiesPage {
 public:
  FieldPage(wxWindow* parent, const Item& item);
  bool store(Item& item) override;

 private:
  wxWindow* makeControl(const ItemField& field, double value);

  std::span<const ItemField> fields_;
  std::vector<wxWindow*> controls_;
};

}  // namespace vemko::gui
