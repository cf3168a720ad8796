#pragma once
#include <functional>
#include <vector>
#include <wx/choice.h>
#include <wx/panel.h>

#include "io/save.h"

namespace vemko::gui {

/// "16-bit PCM", "32-bit float", "Compressed".
const char* encodingLabel(SampleEncoding encoding);

/// File format, channel format and encoding of what is to be saved, from the registry's rows.
class FormatPanel : public wxPanel {
 public:
  explicit FormatPanel(wxWindow* parent);

  /// Lists the rows that can hold the kind, with `row` chosen where it is one of them. The waveforms are
  /// those to be saved.
  void show(ItemKind kind, std::vector<Waveform*> waveforms, int row);

  /// kNoRow when nothing can hold the kind.
  int row() const;
  io::SaveOptions options() const;
  /// Told when the user chooses another format, channel format or encoding.
  std::function<void()> onChange;

 private:
  void fillDetails();
  void fillEncodings(int row);

  wxChoice* format_;
  wxChoice* channels_;
  wxChoice* encoding_;
  std::vector<int> rows_;
  std::vector<Waveform*> waveforms_;
  struct Encoding {
    io::CapabilityMask requested = 0;
    std::uint32_t setting = 0;
  };
  std::vector<Encoding> encodings_;  // by entry of the list
};

}  // namespace vemko::gui
