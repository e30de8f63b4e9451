// pcm.hpp: what its handles do with references, for every type of handle, and what is more than forwarding.
#include "support.h"

#include <tuple>
#include <type_traits>

namespace {

/// A handle of each type: a packet of two frames of two channels, and what holds it.
auto MakeAll()
{
    const pcm::Packet pkt = MakePacket(2, {0.25f, 0.5f, -0.25f, -0.5f});
    const pcm::FilterCoefficients taps(Samples{0.5f, 0.5f});
    pcm::PacketQueue queue(2);
    queue.Write(pkt);
    pcm::Filter filter(taps, 2);
    filter.Write(pkt);
    return std::tuple(pkt, queue, filter, taps, pcm::Tone(4), pcm::String("text"), pcm::Buffer(std::span<std::byte>()));
}

template <class H> void CheckReferences(H handle, H other)
{
    static_assert(std::is_nothrow_move_constructible_v<H> && std::is_nothrow_move_assignable_v<H>);
    SCOPED_TRACE(handle.ToString());
    auto *const object = handle.Get();
    const pbInt &holders = pcm::Obj(object)->refCount, alone = holders;
    std::vector<H> many(3, handle);
    many.erase(many.insert(many.begin(), H::Share(object)) + 1);
    many.resize(20);
    EXPECT_EQ(holders, alone + 3);
    EXPECT_LT(many[19], handle);
    EXPECT_EQ(std::tie(many[0], many[19]), std::tuple(handle, H::Share(nullptr)));
    EXPECT_FALSE(H::Adopt(nullptr));

    const H &same = handle;
    handle = same;
    handle = std::move(const_cast<H &>(same));
    other = handle; // whose own object goes
    H moved = std::move(handle);
    EXPECT_FALSE(handle); // NOLINT(bugprone-use-after-move): a moved-from handle is empty
    EXPECT_EQ(moved, other);
    handle = H::Adopt(moved.Detach());
    EXPECT_EQ(std::tuple(moved.Get(), handle.Get(), holders), std::tuple(nullptr, object, alone + 4));
}

TEST(CppInterface, HandlesCountTheirReferences)
{
    std::apply([](auto... a) { std::apply([&](auto... b) { (CheckReferences(a, b), ...); }, MakeAll()); }, MakeAll());
    const auto fail = [] { return 0; };
    EXPECT_ABORT((pcm___module.startup = fail, pcm::Module()), "include/pcm/pcm", "pcmModule()->startup()");
}

TEST(CppInterface, SpansMayBeEmptyOrEndInsideAFrameOrSample)
{
    auto [pkt, queue, filter, taps, tone, text, bytes] = MakeAll();
    const auto isNew = [](const auto &handle) { return std::decay_t<decltype(handle)>::CreateFrom(handle) != handle; };
    EXPECT_EQ((std::array{isNew(pkt), isNew(queue), isNew(filter), isNew(taps)}), (std::array{true, true, true, true}));
    EXPECT_EQ(tone.Gather(1).Samples()[0] + pcm::Tone(tone).Gather(1).Samples()[0], 1.0f); // one tone: 0 and 1
    Samples samples(5, 9.0f);                                                              // two frames and a half
    pcm::PacketQueue::CreateFrom(queue).GatherSamples(samples);
    pcm::Filter::CreateFrom(filter).GatherSamplesAdd(samples);
    EXPECT_EQ(samples, (Samples{0.375f, 0.75f, -0.25f, -0.5f, 9.0f}));
    const auto half = std::span(samples).last(1);
    queue.GatherSamples(half);
    queue.GatherSamplesAdd(half);
    filter.GatherSamples(half);
    filter.GatherSamplesAdd(half);
    EXPECT_EQ(queue.Frames() + filter.Frames() + half[0], 4 + 9);

    EXPECT_EQ(SamplesOf(MakePacket(2, {1, 2, 3}).Get()), (Samples{1, 2}));
    EXPECT_ABORT(MakePacket(0, {1}), "source/pcm/pcm_packet", "channels > 0");
    EXPECT_EQ(pcm::String(std::string_view()).View(), "");
    EXPECT_EQ(MakePacket(2, {}).Samples().size(), 0u);
    const auto dest = std::as_writable_bytes(std::span(samples).first(3));
    const pcm::Buffer source(std::as_bytes(std::span("\0\x40\0\xC0\x7F").first(5))); // 0.5, -0.5 and a half
    EXPECT_EQ(pcm::Convert(dest, 0, source.Bytes(), PCM_ENCODING_INT_16), 2);
    EXPECT_EQ(pcm::Convert(dest.first(3), 0, source.Bytes(), PCM_ENCODING_INT_16), 0);
    EXPECT_EQ(samples, (Samples{0.5f, -0.5f, -0.25f, -0.5f, 9.0f}));
}

} // namespace
