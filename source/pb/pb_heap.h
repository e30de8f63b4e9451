// The memory under blocks and objects.
//
// A build with PB_LIBERAL, for tests, differs from the ordinary one wherever the contract allows: a count of 0 bytes
// gives a block, a block moves whenever it is resized, fresh and freed memory is full of signalling NaN, the upper
// bound of a random range is drawn too, and every text is a new string. It also refuses what the contract does not
// allow and the ordinary one accepts, such as a null pointer for pbMemSetN with 0 bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace pb {

#ifdef PB_LIBERAL
constexpr bool kLiberal = true;
#else
constexpr bool kLiberal = false;
#endif

/// Fills all of a block.
inline void Spoil(void *block)
{
    constexpr uint32_t kSignallingNan = 0x7FA00000;
    for (std::size_t i = 0; i < malloc_usable_size(block) / sizeof(kSignallingNan); ++i)
        std::memcpy(static_cast<uint32_t *>(block) + i, &kSignallingNan, sizeof(kSignallingNan));
    asm volatile("" : : "r"(block) : "memory"); // so the compiler must keep the writes
}

inline void HeapFree(void *block)
{
    if constexpr (kLiberal)
        if (block)
            Spoil(block);
    std::free(block);
}

/// A block resized to `bytes`, null when allocation fails. Keeps what fits in both.
inline void *HeapResize(void *block, std::size_t bytes)
{
    if constexpr (!kLiberal)
        return std::realloc(block, bytes);
    void *const memory = std::malloc(bytes);
    if (!memory)
        return nullptr;
    Spoil(memory);
    if (block)
        std::memcpy(memory, block, std::min(bytes, malloc_usable_size(block)));
    HeapFree(block);
    return memory;
}

} // namespace pb
