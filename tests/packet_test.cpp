// The packet object: construction, sharing, privacy, standard functions, bytes in and out.
#include "support.h"

#include <functional>
#include <limits>

namespace {

constexpr pbInt kMost = std::numeric_limits<pbInt>::max();

PCM_SAMPLE *Block(const Samples &samples)
{
    auto *block = static_cast<PCM_SAMPLE *>(pbMemAllocN(static_cast<pbInt>(samples.size()), 4));
    std::copy(samples.begin(), samples.end(), block);
    return block;
}

TEST(Packet, ConstructorsOwnWhatTheySay)
{
    const Samples samples = {1, 2, 3, 4, 5, 6};
    PCM_SAMPLE *const block = Block(samples);
    const auto used = pcm::Packet::Adopt(pcmPacketCreateFromSamplesUse(block, 2, 3));
    EXPECT_EQ(pcmPacketBacking(used.Get()), block);
    const auto copied = MakePacket(3, samples);
    const auto again = pcm::Packet::Adopt(pcmPacketCreateFrom(copied.Get()));
    for (const auto *pkt : {&used, &copied, &again}) {
        EXPECT_EQ(SamplesOf(pkt->Get()), samples);
        ExpectSound(pkt->Get());
    }
    EXPECT_NE(copied.Samples().data(), again.Samples().data());
    EXPECT_EQ(again.Channels(), 3);
    EXPECT_EQ(again.Frames(), 2);
    for (PCM_PACKET *empty :
         {pcmPacketCreate(1), pcmPacketCreateFromSamplesUse(Block(samples), kMost, 0),
          pcmPacketCreateFromSamplesUse(nullptr, 7, 0), pcmPacketCreateFromSamplesCopy(nullptr, 1, 0),
          pcmPacketCreateFrom(pcm::Packet(5).Get())}) {
        EXPECT_EQ(pcmPacketFrames(empty), 0);
        EXPECT_EQ(RefCount(empty), 1);
        EXPECT_EQ(pcmPacketBacking(empty), nullptr);
        EXPECT_EQ(pb___ObjDbgAllocationSize(pcmPacketObj(empty)), 0);
        pcmPacketRelease(empty);
    }
}

TEST(Packet, ChangesGoToAPrivateCopyOnlyWhenSomebodyElseLooksOn)
{
    for (const bool shared : {false, true})
        for (const bool clear : {false, true}) {
            auto pkt = MakePacket(2, {0.25f, 0.5f, -0.25f, -0.5f});
            PCM_PACKET *const before = pkt.Get();
            const Holder second(shared ? before : nullptr);
            if (clear)
                pkt.Clear();
            else
                pkt.MutableSamples()[0] = 1.0f;
            EXPECT_EQ(pkt.Get() != before, shared);
            EXPECT_EQ(RefCount(pkt.Get()), 1);
            EXPECT_EQ(SamplesOf(pkt.Get()), clear ? Samples() : (Samples{1.0f, 0.5f, -0.25f, -0.5f}));
            EXPECT_EQ(pkt.Channels(), 2);
            ExpectSound(pkt.Get());
            if (shared) {
                EXPECT_EQ(RefCount(before), 1);
                EXPECT_EQ(SamplesOf(before), (Samples{0.25f, 0.5f, -0.25f, -0.5f}));
            }
        }
}

TEST(Packet, AnEmptyPacketIsClearedByDoingNothing)
{
    pcm::Packet pkt(2);
    const auto other = pkt;
    pkt.Clear();
    EXPECT_EQ(pkt.Get(), other.Get());
    EXPECT_TRUE(pkt.MutableSamples().empty());
    EXPECT_NE(pkt.Get(), other.Get()); // asked for writing, it is private all the same
}

TEST(Packet, StandardFunctions)
{
    const pcm::Packet pkt(1);
    PCM_PACKET *const p = pkt.Get();
    EXPECT_EQ(pcmPacketFrom(pcmPacketObj(p)), p);
    EXPECT_EQ(pcmPacketFrom(nullptr), nullptr);
    EXPECT_EQ(pcmPacketObj(nullptr), nullptr);
    pcmPacketRetain(p);
    EXPECT_EQ(RefCount(p), 2);
    pcmPacketRelease(p);
    const pcm::String other("not a packet");
    auto *const obj = reinterpret_cast<PB_OBJ *>(other.Get());
    EXPECT_ABORT_IN(pcmPacketRetain(nullptr), "stdfunc retain", "obj");
    EXPECT_ABORT_IN(pcmPacketRelease(nullptr), "stdfunc release", "obj");
    EXPECT_ABORT_IN(pcmPacketFrom(obj), "stdfunc from", "!obj || pbObjSort(obj)==&pcm___sort_PCM_PACKET");
    EXPECT_ABORT_IN(pcmPacketToString(nullptr), "stdfunc tostring", "obj");
    EXPECT_ABORT_IN(pcmPacketCompare(nullptr, nullptr), "stdfunc compare a", "objA");
    EXPECT_ABORT_IN(pcmPacketCompare(p, nullptr), "stdfunc compare b", "objB");
    EXPECT_ABORT(pcm___PacketFreeFunc(nullptr), "pkt");
}

TEST(Packet, RefusesWhatCannotBe)
{
    PCM_PACKET *none = nullptr;
    const float sample = 0;
    float *const null = nullptr;
    const pcm::Buffer bytes(std::as_bytes(std::span(&sample, 1)));
    const pcm::Packet pkt(kMost / 4);
    const struct {
        const char *expression;
        std::function<void()> call;
    } rows[] = {
        {"channels > 0", [] { pcmPacketCreate(0); }},
        {"source", [] { pcmPacketCreateFrom(nullptr); }},
        {"channels > 0", [=] { pcmPacketCreateFromSamplesUse(null, 0, -1); }},
        {"frames >= 0", [=] { pcmPacketCreateFromSamplesUse(null, 1, -1); }},
        {"frames == 0 || source", [=] { pcmPacketCreateFromSamplesUse(null, 1, 1); }},
        {"channels > 0", [=] { pcmPacketCreateFromSamplesCopy(null, -1, -1); }},
        {"frames >= 0", [=] { pcmPacketCreateFromSamplesCopy(null, 1, -1); }},
        {"frames == 0 || source", [=] { pcmPacketCreateFromSamplesCopy(null, 1, 1); }},
        {"PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )",
         [=] { pcmPacketCreateFromSamplesCopy(null, kMost / 4 + 1, 0); }},
        {"PB_INT_MUL_OK( pkt->frames, pkt->channels * PB_SIZEOF( PCM_SAMPLE ) )",
         [&] { pcmPacketCreateFromSamplesCopy(&sample, kMost / 4, 2); }},
        {"pkt", [] { pcmPacketChannels(nullptr); }},
        {"pkt", [] { pcmPacketFrames(nullptr); }},
        {"pkt", [] { pcmPacketBacking(nullptr); }},
        {"pkt", [] { pcmPacketMutableBacking(nullptr); }},
        {"*pkt", [&] { pcmPacketMutableBacking(&none); }},
        {"pkt", [] { pcmPacketClear(nullptr); }},
        {"*pkt", [&] { pcmPacketClear(&none); }},
        {"source", [] { pcmPacketTryDecode(nullptr, 0, 0); }},
        {"channels > 0", [&] { pcmPacketTryDecode(bytes.Get(), 0, 0); }},
        {"pkt", [] { pcmPacketEncode(nullptr, 0); }},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expression);
        EXPECT_ABORT_AT(row.call(), "source/pcm/pcm_packet", row.expression);
    }
    EXPECT_ABORT_AT(pcmPacketCreateFromSamplesUse(Block({0}), kMost, 2), "source/pb/pb_obj", // not checked before
                    "PB_INT_MUL_OK( count, size )");
    EXPECT_ABORT(pcmPacketTryDecode(bytes.Get(), 0, kMost), "PB_INT_MUL_OK( channels, s )");
    EXPECT_ABORT(pcmPacketEncode(pkt.Get(), PCM_ENCODING_PACK_64), "PB_INT_MUL_OK( channels, s )");
}

TEST(Packet, BytesComeInAndGoOutInWholeFrames)
{
    const auto buffer = [](const Bytes &bytes) { return pcm::Buffer(std::as_bytes(std::span(bytes))); };
    const auto stereo = pcm::Packet::TryDecode(buffer({0, 0x40, 0, 0xC0, 1, 0, 0, 0x80}), PCM_ENCODING_INT_16, 2);
    EXPECT_EQ(Frames(stereo.Get()), (std::vector<Frame>{{0.5f, -0.5f}, {1 / 32768.0f, -1.0f}}));
    ExpectSound(stereo.Get());
    EXPECT_FALSE(pcm::Packet::TryDecode(buffer({1, 2, 3, 4, 5}), PCM_ENCODING_INT_16, 2));
    const auto empty = pcm::Packet::TryDecode(buffer({}), PCM_ENCODING_INT_8 | PCM_ENCODING_PACK_32, 3);
    EXPECT_EQ(empty.Channels(), 3);
    EXPECT_EQ(empty.Frames(), 0);
    EXPECT_EQ(empty.Encode(PCM_ENCODING_INT_24).Length(), 0);
    const auto bytes = stereo.Encode(PCM_ENCODING_INT_8 | PCM_ENCODING_PACK_16);
    ASSERT_EQ(bytes.Length(), 8);
    EXPECT_EQ(static_cast<int>(bytes.Bytes()[0]), 0x40);
    EXPECT_EQ(static_cast<int>(bytes.Bytes()[1]), 0);
    EXPECT_EQ(static_cast<int>(bytes.Bytes()[2]), 0xC0);
}

} // namespace
