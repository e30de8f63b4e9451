// Editing packets: write, insert, delete.
#include "support.h"

#include <functional>

namespace {

struct Edit {
    const char *name;
    std::function<void(PCM_PACKET **pkt, PCM_PACKET *source)> apply;
    Samples expected;
};

/// Applies each edit to a mono packet, alone, with another holder, and, if `itself`, with the packet as its own source.
void CheckEdits(const std::vector<Edit> &edits, const Samples &before, const Samples &source, bool itself = false)
{
    for (const Edit &edit : edits) {
        SCOPED_TRACE(edit.name);
        for (const bool shared : {false, true}) {
            SCOPED_TRACE(shared ? "shared" : "private");
            auto pkt = MakePacket(1, before);
            const auto other = itself ? pkt : MakePacket(1, source);
            const Holder holder(shared ? pkt.Get() : nullptr);
            edit.apply(pkt.Address(), other.Get());
            EXPECT_EQ(SamplesOf(pkt.Get()), edit.expected);
            EXPECT_EQ(SamplesOf(other.Get()), itself ? before : source);
            EXPECT_EQ(RefCount(pkt.Get()), 1);
            ExpectSound(pkt.Get());
            if (shared) {
                EXPECT_NE(holder.packet, pkt.Get());
                EXPECT_EQ(SamplesOf(holder.packet), before);
                ExpectSound(holder.packet);
            }
        }
    }
}

} // namespace

TEST(PacketWrite, ReplacesTheFramesThatTheNameSays)
{
    CheckEdits(
        {
            {"all", [](auto pkt, auto source) { pcmPacketWrite(pkt, 1, source); }, {1, 10, 11, 12, 5, 6}},
            {"inner", [](auto pkt, auto source) { pcmPacketWriteInner(pkt, 5, source, 2, 1); }, {1, 2, 3, 4, 5, 12}},
            {"leading", [](auto pkt, auto source) { pcmPacketWriteLeading(pkt, 0, source, 2); }, {10, 11, 3, 4, 5, 6}},
            {"trailing",
             [](auto pkt, auto source) { pcmPacketWriteTrailing(pkt, 4, source, 2); },
             {1, 2, 3, 4, 11, 12}},
            {"outer", [](auto pkt, auto source) { pcmPacketWriteOuter(pkt, 2, source, 1, 1); }, {1, 2, 10, 12, 5, 6}},
            {"outer, all",
             [](auto pkt, auto source) { pcmPacketWriteOuter(pkt, 0, source, 3, 0); },
             {10, 11, 12, 4, 5, 6}},
            {"zero", [](auto pkt, auto) { pcmPacketWriteZero(pkt, 4, 2); }, {1, 2, 3, 4, 0, 0}},
        },
        {1, 2, 3, 4, 5, 6}, {10, 11, 12});
}

TEST(PacketWrite, ItselfTakesTheFramesOfBefore)
{
    CheckEdits(
        {
            {"leading", [](auto pkt, auto source) { pcmPacketWriteLeading(pkt, 1, source, 3); }, {1, 1, 2, 3}},
            {"trailing", [](auto pkt, auto source) { pcmPacketWriteTrailing(pkt, 0, source, 3); }, {2, 3, 4, 4}},
            {"outer", [](auto pkt, auto source) { pcmPacketWriteOuter(pkt, 1, source, 1, 1); }, {1, 1, 3, 4}},
        },
        {1, 2, 3, 4}, {}, true);
}

TEST(PacketInsert, PutsTheFramesThatTheNameSaysWhereItSays)
{
    CheckEdits(
        {
            {"all", [](auto pkt, auto source) { pcmPacketInsert(pkt, 1, source); }, {1, 10, 11, 12, 2}},
            {"all before", [](auto pkt, auto source) { pcmPacketPrepend(pkt, source); }, {10, 11, 12, 1, 2}},
            {"all behind", [](auto pkt, auto source) { pcmPacketAppend(pkt, source); }, {1, 2, 10, 11, 12}},
            {"inner", [](auto pkt, auto source) { pcmPacketInsertInner(pkt, 1, source, 1, 2); }, {1, 11, 12, 2}},
            {"inner before", [](auto pkt, auto source) { pcmPacketPrependInner(pkt, source, 1, 1); }, {11, 1, 2}},
            {"inner behind", [](auto pkt, auto source) { pcmPacketAppendInner(pkt, source, 1, 1); }, {1, 2, 11}},
            {"leading", [](auto pkt, auto source) { pcmPacketInsertLeading(pkt, 1, source, 1); }, {1, 10, 2}},
            {"leading before", [](auto pkt, auto source) { pcmPacketPrependLeading(pkt, source, 2); }, {10, 11, 1, 2}},
            {"leading behind", [](auto pkt, auto source) { pcmPacketAppendLeading(pkt, source, 2); }, {1, 2, 10, 11}},
            {"trailing", [](auto pkt, auto source) { pcmPacketInsertTrailing(pkt, 1, source, 1); }, {1, 12, 2}},
            {"trailing before",
             [](auto pkt, auto source) { pcmPacketPrependTrailing(pkt, source, 2); },
             {11, 12, 1, 2}},
            {"trailing behind", [](auto pkt, auto source) { pcmPacketAppendTrailing(pkt, source, 2); }, {1, 2, 11, 12}},
            {"outer", [](auto pkt, auto source) { pcmPacketInsertOuter(pkt, 1, source, 1, 1); }, {1, 10, 12, 2}},
            {"outer before", [](auto pkt, auto source) { pcmPacketPrependOuter(pkt, source, 0, 2); }, {12, 1, 2}},
            {"outer behind", [](auto pkt, auto source) { pcmPacketAppendOuter(pkt, source, 1, 2); }, {1, 2, 10}},
            {"zero", [](auto pkt, auto) { pcmPacketInsertZero(pkt, 1, 2); }, {1, 0, 0, 2}},
            {"zero before", [](auto pkt, auto) { pcmPacketPrependZero(pkt, 1); }, {0, 1, 2}},
            {"zero behind", [](auto pkt, auto) { pcmPacketAppendZero(pkt, 1); }, {1, 2, 0}},
        },
        {1, 2}, {10, 11, 12});
}

TEST(PacketInsert, ItselfTakesTheFramesOfBefore)
{
    CheckEdits(
        {
            {"all", [](auto pkt, auto source) { pcmPacketInsert(pkt, 1, source); }, {1, 1, 2, 3, 2, 3}},
            {"outer", [](auto pkt, auto source) { pcmPacketInsertOuter(pkt, 2, source, 1, 1); }, {1, 2, 1, 3, 3}},
        },
        {1, 2, 3}, {}, true);
}

TEST(PacketDel, LeavesTheFramesThatTheNameSays)
{
    CheckEdits(
        {
            {"inner", [](auto pkt, auto) { pcmPacketDelInner(pkt, 1, 2); }, {1, 4, 5}},
            {"inner, all", [](auto pkt, auto) { pcmPacketDelInner(pkt, 0, 5); }, {}},
            {"outer", [](auto pkt, auto) { pcmPacketDelOuter(pkt, 1, 2); }, {2, 3}},
            {"outer, none", [](auto pkt, auto) { pcmPacketDelOuter(pkt, 5, 0); }, {}},
            {"leading", [](auto pkt, auto) { pcmPacketDelLeading(pkt, 2); }, {3, 4, 5}},
            {"trailing", [](auto pkt, auto) { pcmPacketDelTrailing(pkt, 2); }, {1, 2, 3}},
            {"set longer", [](auto pkt, auto) { pcmPacketSetFrames(pkt, 7); }, {1, 2, 3, 4, 5, 0, 0}},
            {"set shorter", [](auto pkt, auto) { pcmPacketSetFrames(pkt, 3); }, {1, 2, 3}},
            {"set none", [](auto pkt, auto) { pcmPacketSetFrames(pkt, 0); }, {}},
        },
        {1, 2, 3, 4, 5}, {});
}
