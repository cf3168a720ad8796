#pragma once
#include <initializer_list>
#include <memory>

namespace vemko {

/// A library opened at run time by file name, kept open while this object lives.
class SharedLibrary {
 public:
  SharedLibrary() = default;
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  /// Opens the first of the names that the system finds; false, without an error message, when there is none.
  bool open(std::initializer_list<const char*> names);
  bool isOpen() const { return handle_ != nullptr; }

  /// The address of an exported name, null when the library lacks it.
  void* symbol(const char* name) const;

 private:
  void* handle_ = nullptr;
};

}  // namespace vemko
