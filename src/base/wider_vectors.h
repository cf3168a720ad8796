#pragma once
// For loops that were measured to gain from wider registers: they are compiled twice where the system chooses
// at start which one runs. The results are the same.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__) && \
    !defined(__SANITIZE_ADDRESS__)
#define VEMKO_WIDER __attribute__((target_clones("avx2", "default")))
#else
#define VEMKO_WIDER
#endif
