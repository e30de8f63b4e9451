// Packet queues in an endless stream. What they return is checked by the model.
#include "support.h"

#include <malloc.h>

// The allocator is asked: the runtime's account would not show a block that is counted but not freed.
TEST(PacketQueue, AStreamNeedsNoMoreMemoryThanWhatWaits)
{
    auto queue = pcm::PacketQueue(2);
    auto alive = Alive();
    auto bytes = mallinfo2().uordblks;
    for (int step = 0; step < 20000; ++step) {
        queue.Write(MakePacket(2, Samples(20)));
        if (step >= 5)
            step % 2 ? queue.Read() : queue.Gather(10);
        if (step == 100) {
            alive = Alive();
            bytes = mallinfo2().uordblks;
        }
    }
    EXPECT_EQ(Alive(), alive);
    EXPECT_LT(mallinfo2().uordblks, bytes + 4096);
}
