#pragma once
#include "core/collection.h"
#include "platform/files.h"

namespace vemko::soundfont {

/// Reads the bank; one without a name is called after the file `namedAfter`.
bool readBank(Collection& collection, InputFile& file, const Path& namedAfter);

}  // namespace vemko::soundfont
