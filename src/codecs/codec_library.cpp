#include "codecs/codec_library.h"

#include "base/last_error.h"
#include "platform/environment.h"

namespace vemko {

CodecLibrary::CodecLibrary(const LibraryNames& names) : names_(names) {
  const std::string folder = environmentValue("VEMKO_CODEC_PATH").value_or("");
  if (folder.empty()) {
    available_ = library_.open(names.files);
    return;
  }
  for (const char* file : names.files) {
    const std::string path = folder + "/" + file;
    if (!available_) available_ = library_.open({path.c_str()});
  }
}

CodecLibrary::Address CodecLibrary::find(const char* name) {
  void* pointer = library_.symbol(name);
  available_ = available_ && pointer != nullptr;
  return {pointer};
}

bool CodecLibrary::require() const {
  if (available_) return true;
  return fail(std::u16string(u"The codec library ")
                  .append(names_.title)
                  .append(u" is not available (")
                  .append(names_.package)
                  .append(u")"));
}

std::u16string CodecLibrary::missingText() const {
  if (available_) return {};
  return std::u16string(names_.title).append(u" (").append(names_.package).append(u")");
}

}  // namespace vemko
