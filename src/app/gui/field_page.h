#pragma once
#include <span>
#include <vector>

#include "app/gui/properties_page.h"

class wxSizer;

namespace vemko::gui {

/// An empty field of the types "OrNone" is stored as 255.
enum class FieldType { Whole, WholeOrNone, Decimal, Key, KeyOrNone, Check, Choice };

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

/// The fields that the items have in common; none for items that have only texts.
std::span<const ItemField> fieldsOf(std::span<Item* const> items);
/// Cross-fades of regions; none for other kinds.
std::span<const ItemField> fadeFieldsOf(std::span<Item* const> items);
/// Whether they are waveforms whose samples are raw data of a file.
bool haveRawSamples(std::span<Item* const> items);
/// The format in which raw data are taken.
std::span<const ItemField> rawSampleFields();

/// A page made from fields that all the items have.
class FieldPage : public PropertiesPage {
 public:
  FieldPage(wxWindow* parent, Items items, std::span<const ItemField> fields);
  bool check() override;
  void store() override;

 private:
  struct Entry {
    const ItemField* field;
    wxWindow* control;
    bool isEdited = false;
  };
  wxWindow* makeControl(const ItemField& field, std::optional<double> value);
  void noteEdited(const wxWindow* control);

  std::vector<Entry> entries_;
};

}  // namespace vemko::gui
