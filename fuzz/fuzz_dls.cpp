#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const vemko::Bytes input = std::as_bytes(std::span(data, size));
  vemko::fuzz::readAndSave(input, u"DownLoadable Sounds");
  return 0;
}
