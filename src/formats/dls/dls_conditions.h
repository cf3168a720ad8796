#pragma once
// Conditional chunks: a list that holds one is there only for players of which its expression is true.
#include "base/bytes.h"
#include "base/log.h"

namespace vemko::dls {

/// The value of an expression, for a program that plays levels 1 and 2 from memory at 44100 Hz and has no
/// sounds of its own. True where the expression cannot be evaluated, so that nothing is lost to damage.
bool isConditionMet(Bytes expression, Complaints& complaints);

}  // namespace vemko::dls
