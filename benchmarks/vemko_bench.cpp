// One measured step of the library at a time, as a program: `vemko-bench open FILE` reads the items and
// leaves the samples in the file, `vemko-bench load FILE` brings all samples into memory as floats.
#include <cstdio>
#include <string_view>

#include "base/last_error.h"
#include "base/text.h"
#include "io/open.h"
#include "io/samples.h"

int main(int argc, char** argv) {
  const std::string_view step = argc == 3 ? argv[1] : "";
  if (step != "open" && step != "load") {
    std::fputs("usage: vemko-bench open|load FILE\n", stderr);
    return 2;
  }
  vemko::Collection collection;
  const bool done = vemko::io::openFile(collection, argv[2], false) &&
                    (step == "open" || vemko::io::loadSamples(collection.all<vemko::Waveform>()));
  if (!done) {
    std::fprintf(stderr, "%s\n", vemko::toUtf8(vemko::lastError()).c_str());
    return 1;
  }
  std::printf("%zu waveforms\n", collection.all<vemko::Waveform>().size());
  return 0;
}
