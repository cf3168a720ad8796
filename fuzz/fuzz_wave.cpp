#include "fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  vemko::fuzz::readAndSave(std::as_bytes(std::span(data, size)), u"Microsoft wave");
  return 0;
}
