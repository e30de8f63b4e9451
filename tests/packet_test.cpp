// Packets: what is made of all their channels and frames, at every size and in numbers; accounts.
#include "models/packet_reshapes.h"

#include <cstring>
#include <sys/mman.h>
#include <utility>

namespace {

constexpr pbInt kMost = INT64_MAX;

/// What another holder does while the library copies a packet, once.
std::function<void()> meanwhile;

/// What the library last reported to an account: how many of which size.
std::pair<pbInt, pbInt> account;

// Slots of memory, while there are any. Each block of frames ends a slot, right before inaccessible pages.
constexpr std::size_t kSlots = 8, kSlot = 1 << 18, kRoom = kSlot - 65536; // whatever the size of a page
char *slots = nullptr;
unsigned usedSlots = 0;

} // namespace

// The library calls these instead of the runtime's own.
extern "C" void pbMemFree(void *block)
{
    const std::size_t at = reinterpret_cast<uintptr_t>(block) - reinterpret_cast<uintptr_t>(slots);
    if (!slots || at >= kSlots * kSlot)
        return Runtime<decltype(pbMemFree)>("pbMemFree")(block);
    usedSlots &= ~(1u << at / kSlot);
}
extern "C" void *pbMemReallocN(void *block, pbInt count, pbInt size)
{
    if (!slots)
        return Runtime<decltype(pbMemReallocN)>("pbMemReallocN")(block, count, size);
    const std::size_t bytes = count * size, slot = std::countr_one(usedSlots);
    if (slot == kSlots || bytes > kRoom)
        std::abort();
    usedSlots |= 1u << slot;
    char *const resized = slots + slot * kSlot + kRoom - bytes;
    if (block)
        std::memcpy(resized, block, std::min(bytes, kRoom - (static_cast<char *>(block) - slots) % kSlot));
    pbMemFree(block);
    return resized;
}
pbInt allocatedBlocks = 0;
extern "C" void *pbMemAllocN(pbInt count, pbInt size)
{
    ++allocatedBlocks;
    return slots ? pbMemReallocN(nullptr, count, size) : Runtime<decltype(pbMemAllocN)>("pbMemAllocN")(count, size);
}
extern "C" void pbMemCopy(void *dest, const void *source, pbInt bytes)
{
    Runtime<decltype(pbMemCopy)>("pbMemCopy")(dest, source, bytes);
    if (meanwhile)
        std::exchange(meanwhile, nullptr)();
}
extern "C" void pb___ObjDbgSetAllocationSizeN(PB_OBJ *obj, pbInt count, pbInt size)
{
    account = {count, size};
    Runtime<decltype(pb___ObjDbgSetAllocationSizeN)>("pb___ObjDbgSetAllocationSizeN")(obj, count, size);
}

TEST(Packet, IsWhatTheDefinitionsSayAtEverySize)
{
    slots = static_cast<char *>(mmap(nullptr, kSlots * kSlot, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    for (std::size_t i = 0; i < kSlots; ++i)
        ASSERT_EQ(mprotect(slots + i * kSlot, kRoom, PROT_READ | PROT_WRITE), 0);
    Random random;
    const Samples pool = random.OddRun(20000);
    const uint64_t any = random.Bits(), other = random.Bits();
    // clang-format off
    const std::vector<uint64_t> numbers = {0, 1, 2, 3, 4, 5, 6, 7, 8, 15, 30, 62, 63, 64, 69, any, any & other,
                                           any | other, UINT64_MAX};
    const std::vector<pbInt> lengths = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 31, 32, 33, 63,
                                        64, 65, 66, 67, 68, 69, 70, 127, 129, 511, 512, 513, 2000};
    // clang-format on
    for (const Reshape &reshape : kReshapes)
        for (const pbInt channels : {1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 31, 63, 64, 65, 70})
            for (const uint64_t number : numbers)
                for (const pbInt frames : lengths) {
                    const bool seen = reshape.numbers && number >= reshape.numbers; // as a smaller number
                    if (HasFailure() || seen || frames * std::max(channels, static_cast<pbInt>(number % 70)) > 5000)
                        break;
                    SCOPED_TRACE(testing::Message() << channels << " channels, " << frames << " frames");
                    const auto start = pool.begin() + random.From(0, 10000);
                    std::vector<Hand> hands(random.From(1, 2), Hand({channels, {start, start + channels * frames}}));
                    hands.front().Apply(reshape, number);
                    hands.back().Check();
                }
    EXPECT_EQ(usedSlots, 0u) << "blocks left behind";
    munmap(std::exchange(slots, nullptr), kSlots * kSlot);
}

TEST(Packet, IsWhatAnyoneCanCheckAndTellsItsAccount)
{
    static const auto nan = std::bit_cast<float>(0x7F812345u); // which arithmetic would change
    // clang-format off
    const struct { const char *name; Shape before; void (*call)(pcm::Packet &pkt); Shape after; } rows[] = {
        {"set", {1, {}}, [](auto &p) { (p = pcm::Packet(2)).SetChannels(3); }, {3, {}}},
        {"use", {1, {}}, [](auto &p) { p = Using(Samples{1, 2, 3, 4, 5, 6}, 2); }, {2, {1, 2, 3, 4, 5, 6}}},
        {"use, wide, of a block for no frames", {1, {}}, [](auto &p) {
             p = pcm::Packet::CreateFromSamplesUse(static_cast<PCM_SAMPLE *>(pbMemAlloc(4)), kMost, 0);
         }, {kMost, {}}},
        {"sum, wide, of no frames", {3, {}}, [](auto &p) { p = p.WithChannels(kMost); }, {kMost, {}}},
        {"nothing is too wide or too often without frames", {1, {}}, [](auto &p) {
             p = pcm::Packet(kMost);
             p.AppendZero(0);
             p.Append(p);
             p.FramesExtend(kMost);
             p.FramesReduce(kMost);
             p.ChannelsAdjustReplaceWithDownmix(kMost - 1);
         }, {kMost - 1, {}}},
        {"in order", {3, {1e8f, -1e8f, 3}}, [](auto &p) { p.ChannelsAdjustReplaceWithDownmix(1); }, {1, {1}}},
        {"not clamped", {2, {1.5f, 2.5f}}, [](auto &p) { p.ChannelsAdjustReplaceWithDownmix(3); }, {3, {2, 2, 2}}},
        {"average", {2, {1, 0.5f}}, [](auto &p) { p.ChannelsAdjustExpandWithDownmix(3); }, {3, {1, 0.5f, 0.75f}}},
        {"stuffed", {2, {1, 2, 3, 4}}, [](auto &p) { p.FramesExtend(2); }, {2, {1, 2, 0, 0, 3, 4, 0, 0}}},
        {"20 dB", {1, {0.1f, -1.5f}}, [](auto &p) { p.LevelAdjust(20); }, {1, {0.1f * 10, -15}}},
        {"0 dB multiplies nothing", {1, {nan}}, [](auto &p) { p.LevelAdjust(-0.0); }, {1, {nan}}},
        {"kept", {1, {nan}}, [](auto &p) {
             p.ChannelsAdjustExpandWithDownmix(2);
             p.SetChannels(1);
         }, {1, {nan}}},
        {"far", {2, {1, 2}}, [](auto &p) { p.WriteChannels(1, 0, {&nan, 1}, 0, kMost, 0, 1, 1); }, {2, {1, nan}}},
        {"too far for any", {2, {1, 2}}, [](auto &p) {
             p.WriteChannels(2, 0, {&nan, 1}, 0, kMost, kMost - 2, 0, 1);
             p.WriteChannels(1, 0, {}, 0, kMost, kMost - 2, 1, 0);
         }, {2, {1, 2}}},
        {"its own samples one after another, of which one is both read and written", {2, {1, 2, 3, 4}}, [](auto &p) {
             p.WriteChannels(0, 1, p.Samples().subspan(1, 2), 0, 2, 0, 2, 1);
         }, {2, {1, 2, 2, 2}}},
        {"its own samples as they were, though the others let go meanwhile", {2, {1, 2, 3, 4, 5, 6}}, [](auto &p) {
             meanwhile = [other = p]() mutable { other = pcm::Packet(); };
             p.WriteChannels(0, 1, p.Samples(), 0, 2, 0, 1, 2);
         }, {2, {1, 2, 1, 4, 3, 6}}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        Hand hand(row.before);
        account = {-1, -1};
        row.call(hand.packet);
        hand.shape = row.after;
        hand.Check();
        EXPECT_EQ(RefCount(hand.packet.Get()), 1);
        const std::pair<pbInt, pbInt> told = {row.after.Frames(), std::min(row.after.channels, kMost / 4) * 4};
        if (account.first < 0 && !row.after.samples.empty())
            continue; // the account was told in bytes
        EXPECT_EQ(account, told);
    }
}
