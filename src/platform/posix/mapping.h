#pragma once
#include <cstddef>

#include "base/bytes.h"

namespace vemko::posix {

/// A read-only view of a whole file. A file may become shorter while it is looked at, and a device may fail;
/// the system would end the program for that. Here zeros stand in place of such bytes from then on, and the
/// view tells.
class Mapping {
 public:
  Mapping() = default;
  ~Mapping();
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  /// Once, of more than 0 bytes; false when the system cannot.
  bool map(int fd, std::size_t bytes);
  Bytes bytes() const { return {static_cast<const std::byte*>(start_), bytes_}; }  ///< Empty before map().
  bool isIntact() const;

  struct Guard;

 private:
  void* start_ = nullptr;
  std::size_t bytes_ = 0;
  Guard* guard_ = nullptr;
};

}  // namespace vemko::posix
