// QM_VECTOR_CLONES compiles a function once more for AVX2 (without FMA, so no
// multiply-add is fused and every rounding stays where the source puts it)
// and picks that copy at load time on processors that have it. Only for
// functions defined in one .cpp file, never inline ones.
#pragma once

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define QM_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define QM_VECTOR_CLONES
#endif
