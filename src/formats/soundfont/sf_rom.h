#pragma once
// Samples that old sound cards have in ROM: a bank names them only. A bank with the same samples can stand in
// for the ROM.
#include <memory>
#include <optional>

#include "formats/soundfont/sf_samples.h"

namespace vemko::soundfont {

class RomSamples {
 public:
  /// Asks the user at the first sample whether to skip these samples or to take them from "1mgm.sf2". There,
  /// a sample is found by its name, else by its place.
  SamplePlace place(const SampleHeader& header, Complaints& complaints);

 private:
  void load(Complaints& complaints);

  bool isAsked_ = false;
  std::optional<BankFile> bank_;
  std::shared_ptr<SourceFile> file_;
};

}  // namespace vemko::soundfont
