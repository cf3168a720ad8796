set(CMAKE_SYSTEM_PROCESSOR i686)
set(VEMKO_WINDOWS_HOST i686-w64-mingw32)
set(VEMKO_WINDOWS_WIDTH x86)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
# SSE2 is the floor: the old floating-point unit is many times slower, and rounds otherwise.
string(APPEND CMAKE_CXX_FLAGS_INIT " -msse2 -mfpmath=sse -mstackrealign")
# Programs of 32 bits may use 4 GiB under a 64-bit system.
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,--large-address-aware")
