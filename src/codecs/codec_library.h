#pragma once
// Codec libraries opened at run time. A bridge keeps a record of the functions that it needs, each typed by
// the library's own header:
//
//   struct Functions {
//     CodecLibrary library{kLibrary};
//     decltype(&gsm_create) create = library.find("gsm_create");
//   };
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/shared_library.h"

namespace vemko {

/// A codec library and how to name it to the user.
struct LibraryNames {
  std::u16string_view title;                 ///< "libFLAC"
  std::u16string_view package;               ///< "Debian package libflac12, Windows libFLAC.dll"
  std::initializer_list<const char*> files;  ///< Tried in turn.
};

class CodecLibrary {
 public:
  /// Opens the library from where the system looks for libraries or, when the environment variable
  /// VEMKO_CODEC_PATH names a folder, from that folder only.
  explicit CodecLibrary(const LibraryNames& names);

  /// An exported function, to be assigned to a pointer to it. A library that lacks one is too old and counts
  /// as missing.
  struct Address {
    void* pointer;
    template <class Function>
    operator Function*() const {
      return reinterpret_cast<Function*>(pointer);
    }
  };
  Address find(const char* name);

  /// Whether the library was opened and has everything that was looked for.
  bool isAvailable() const { return available_; }
  /// As isAvailable; false with "The codec library libFLAC is not available (Debian package ...)" set.
  bool require() const;
  /// "libFLAC (Debian package ...)", empty when it is available.
  std::u16string missingText() const;

 private:
  const LibraryNames& names_;
  SharedLibrary library_;
  bool available_ = false;
};

}  // namespace vemko
