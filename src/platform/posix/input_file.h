#pragma once
#include "platform/input_file.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/mapping.h"

namespace vemko {

struct InputFile::System::Native {
  posix::Descriptor fd;
  posix::Mapping mapping;  // The whole file, once bytes() was called.
};

}  // namespace vemko
