// Memory: the C library's allocator, with the checks and the count of live blocks.
#include "pb_assert.h"
#include "pb_heap.h"

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <atomic>
#include <cstring>

namespace {

std::atomic<pbInt> liveBlocks{0};

/// count * size as a size; ends the process when there is no such size.
std::size_t Bytes(pbInt count, pbInt size)
{
    PB_ASSERT(count >= 0);
    PB_ASSERT(size >= 0);
    PB_ASSERT(PB_INT_MUL_OK( count, size ));

    return static_cast<std::size_t>(count * size);
}

bool Overlap(const void *a, const void *b, std::size_t bytes)
{
    const auto addressA = reinterpret_cast<uintptr_t>(a), addressB = reinterpret_cast<uintptr_t>(b);
    return addressA - addressB < bytes || addressB - addressA < bytes;
}

} // namespace

void *pbMemAlloc(pbInt bytes)
{
    return pbMemAllocN(bytes, 1);
}

void *pbMemAllocN(pbInt count, pbInt size)
{
    return pbMemReallocN(nullptr, count, size);
}

void *pbMemReallocN(void *block, pbInt count, pbInt size)
{
    const std::size_t bytes = Bytes(count, size);
    if (!bytes && !pb::kLiberal) {
        pbMemFree(block);
        return nullptr;
    }
    void *memory = pb::HeapResize(block, bytes);
    PB_ASSERT(memory);
    if (!block)
        liveBlocks.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

void pbMemFree(void *block)
{
    if (!block)
        return;
    pb::HeapFree(block);
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
}

void pbMemCopy(void *dest, const void *source, pbInt bytes)
{
    if (pb::kLiberal) {
        PB_ASSERT(dest);
        PB_ASSERT(source);
    }
    pbMemCopyN(dest, source, bytes, 1);
}

void pbMemCopyN(void *dest, const void *source, pbInt count, pbInt size)
{
    const std::size_t bytes = Bytes(count, size);
    if (!bytes)
        return;
    PB_ASSERT(dest);
    PB_ASSERT(source);
    if (pb::kLiberal)
        PB_ASSERT(!Overlap(dest, source, bytes));

    std::memcpy(dest, source, bytes);
}

void pbMemMoveN(void *dest, const void *source, pbInt count, pbInt size)
{
    const std::size_t bytes = Bytes(count, size);
    if (!bytes)
        return;
    PB_ASSERT(dest);
    PB_ASSERT(source);

    std::memmove(dest, source, bytes);
}

void pbMemSetN(void *dest, pbInt value, pbInt count, pbInt size)
{
    const std::size_t bytes = Bytes(count, size);
    if (pb::kLiberal)
        PB_ASSERT(value >= 0 && value <= 0xFF);
    if (!bytes && !pb::kLiberal)
        return;
    PB_ASSERT(dest);

    std::memset(dest, static_cast<int>(value & 0xFF), bytes);
}

pbInt pb___MemDbgBlocks()
{
    return liveBlocks.load(std::memory_order_relaxed);
}
