// Instruction sets. A hot loop stands once, in a file `pcm_..._loops.h` that is compiled once for each set through
// pcm_each_isa.h; a family keeps a table of its loops and chooses it when the library is loaded.
#pragma once

#if defined __x86_64__
#include <immintrin.h>
#elif defined __aarch64__
#include <arm_neon.h>
#endif

#include <cmath>
#include <cstdint>
#include <utility>

namespace pcm {

/// What every processor of the architecture has, which includes NEON on aarch64; AVX2 and FMA; AVX-512 F, BW, CD, DQ,
/// VL; VBMI too.
enum class Isa { Base, Avx2, Avx512, Avx512Vbmi };

/// The last of those that this processor has.
Isa BestIsa();

/// This processor's table of a family's loops, the last of which need `last`.
template <class Table>
const Table &ForThisProcessor(const Table &base, const Table &avx2, const Table &avx512, Isa last = Isa::Avx512)
{
    const Isa isa = BestIsa();
    return isa >= last ? avx512 : isa >= Isa::Avx2 ? avx2 : base;
}

} // namespace pcm
