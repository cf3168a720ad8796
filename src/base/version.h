#pragma once

namespace vemko {

inline constexpr char kProductName[] = "Vemko Studio";
inline constexpr int kVersionMajor = 12;
inline constexpr int kVersionMinor = 13;
inline constexpr char kVersion[] = "12.13";
/// The name that files written by the studio are stamped with.
inline constexpr char kSoftwareName[] = "Vemko Studio v12.13";

}  // namespace vemko
