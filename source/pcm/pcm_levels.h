// Instruction sets. A hot loop stands once, in a file `pcm_..._loops.h` that is compiled once for each level through
// pcm_each_level.h; a family keeps a table of its loops and chooses it when the library is loaded.
#pragma once

namespace pcm {

/// Each level includes the one before: what every processor has; AVX2 and FMA; AVX-512 (F, BW, CD, DQ, VL).
enum class Level { Base, V3, V4 };

/// The highest level of this processor.
Level BestLevel();

/// The table of this processor's level.
template <class Table> Table ForThisProcessor(const Table &base, const Table &v3, const Table &v4)
{
    switch (BestLevel()) {
    case Level::V4: return v4;
    case Level::V3: return v3;
    case Level::Base: break;
    }
    return base;
}

} // namespace pcm
