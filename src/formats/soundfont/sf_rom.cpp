#include "formats/soundfont/sf_rom.h"

#include <algorithm>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "codecs/pcm_source.h"
#include "io/decisions.h"

namespace vemko::soundfont {
namespace {

constexpr std::u16string_view kQuestion =
    u"This SoundFont references ROM waveforms.\n\nWould you like to skip these, or load them from "
    u"\"1mgm.sf2\"?\n(i.e. the AWE32 ROM equivalent from the SB Live-drivers)";
constexpr std::u16string_view kButtons[] = {u"Use 1mgm.sf2", u"Skip"};
constexpr std::u16string_view kFileName = u"1mgm.sf2";

std::optional<Path> findReplacement() {
  Path besideProgram = programPath().parent_path() / pathOf(kFileName);
  if (fileExists(besideProgram)) return besideProgram;
  return io::locateFile(u"Please locate 1mgm.sf2", kFileName);
}

bool isInRange(const SampleHeader& header, const BankFile& bank) {
  return header.start < header.end && header.end <= bank.smpl.size / 2;
}

}  // namespace

void RomSamples::load(Complaints& complaints) {
  isAsked_ = true;
  if (io::ask(kQuestion, kButtons, 1) != 0) return;
  const auto path = findReplacement();
  if (!path) return;
  InputFile file;
  BankFile bank;
  if (file.open(*path) && parseBank(file.bytes(), bank, complaints) && bank.versionMajor == 2 &&
      file.isIntact()) {
    bank_ = std::move(bank);
    file_ = SourceFile::at(*path);
  } else {
    constexpr std::u16string_view kInvalid = u"Invalid 1mgm.sf2 - skipping ROM";
    logWarning(kInvalid);
    setLastError(kInvalid);
  }
}

SamplePlace RomSamples::place(const SampleHeader& header, Complaints& complaints) {
  if (!isAsked_) load(complaints);
  const SampleHeader* found = nullptr;
  if (bank_) {
    const auto sameName = std::ranges::find_if(bank_->samples, [&](const SampleHeader& other) {
      return isInRange(other, *bank_) && equalsIgnoringCase(textOf(other.name), textOf(header.name));
    });
    if (sameName != bank_->samples.end())
      found = &*sameName;
    else if (isInRange(header, *bank_))
      found = &header;
  }
  if (!found) {
    complaints.add(u"A ROM sample is skipped");
    return {true, nullptr, 0};
  }
  const std::uint32_t frames = found->end - found->start;
  return {false,
          makePcmSource(file_, bank_->smpl.offset + std::uint64_t{found->start} * 2, frames, 1,
                        PcmFormat{SampleEncoding::Pcm16}),
          frames};
}

}  // namespace vemko::soundfont
