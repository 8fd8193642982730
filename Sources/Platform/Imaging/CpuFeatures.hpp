#pragma once

// Functions marked so are compiled for AVX2 whatever the build's own target is; they may only run
// where hasAvx2() is true. Chosen at run time instead of by the loader (target_clones), because the
// sanitizers are not ready yet when the loader asks.
#if defined(__x86_64__)
#define COBALTREEL_X86 1
#define COBALTREEL_AVX2 [[gnu::target("avx2")]]
#endif

namespace platform::imaging {

inline bool hasAvx2() {
#ifdef COBALTREEL_X86
    static const bool present = __builtin_cpu_supports("avx2") != 0;
    return present;
#else
    return false;
#endif
}

}  // namespace platform::imaging
