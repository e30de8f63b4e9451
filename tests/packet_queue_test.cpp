// Packet queues at length: what an endless stream needs. What they do is in the model.
#include "support.h"

#include <malloc.h>

// The allocator is asked: an account kept beside the memory would not tell a block that is counted and not freed.
TEST(PacketQueue, AStreamNeedsNoMoreMemoryThanWhatWaits)
{
    auto queue = pcm::PacketQueue(2);
    pbInt objects = 0, blocks = 0;
    std::size_t bytes = 0;
    for (int step = 0; step < 20000; ++step) {
        queue.Write(MakePacket(2, Samples(20)));
        if (step >= 5)
            step % 2 ? queue.Read() : queue.Gather(10);
        if (step == 100)
            objects = pb___ObjDbgObjects(), blocks = pb___MemDbgBlocks(), bytes = mallinfo2().uordblks;
    }
    EXPECT_EQ(pb___ObjDbgObjects(), objects);
    EXPECT_EQ(pb___MemDbgBlocks(), blocks);
    EXPECT_LT(mallinfo2().uordblks, bytes + 4096);
}
