// The C++ face: what its handles do with references, for every type of handle.
#include "support.h"

#include <type_traits>

namespace {

template <class H> H Make();
template <> pcm::Packet Make()
{
    return MakePacket(2, {0.25f, 0.5f, -0.25f, -0.5f});
}
template <> pcm::PacketQueue Make()
{
    pcm::PacketQueue queue(2);
    queue.Write(Make<pcm::Packet>());
    return queue;
}
template <> pcm::Filter Make()
{
    pcm::Filter filter(pcm::FilterCoefficients(Samples{0.5f, 0.5f}), 2);
    filter.Write(Make<pcm::Packet>());
    return filter;
}
template <> pcm::FilterCoefficients Make()
{
    return pcm::FilterCoefficients(Samples{0.5f, 0.5f});
}
template <> pcm::Tone Make()
{
    return pcm::Tone(8);
}
template <> pcm::String Make()
{
    return pcm::String("text");
}
template <> pcm::Buffer Make()
{
    const Bytes bytes = {1, 2, 3};
    return pcm::Buffer(std::as_bytes(std::span(bytes)));
}

/// How many holders the handle's object has.
template <class H> pbInt Holders(const H &handle)
{
    return reinterpret_cast<PB_OBJ *>(handle.Get())->refCount;
}

template <class H> class Handles : public testing::Test {
};
using Types = testing::Types<pcm::Packet, pcm::PacketQueue, pcm::Filter, pcm::FilterCoefficients, pcm::Tone,
                             pcm::String, pcm::Buffer>;
TYPED_TEST_SUITE(Handles, Types);

TYPED_TEST(Handles, CountTheirReferences)
{
    using H = TypeParam;
    H handle = Make<H>();
    auto *const object = handle.Get();
    EXPECT_EQ(Holders(handle), 1);
    {
        const H copy = handle;
        EXPECT_EQ(copy.Get(), object);
        EXPECT_EQ(Holders(handle), 2);
        const H share = H::Share(object);
        EXPECT_EQ(Holders(handle), 3);
    }
    EXPECT_EQ(Holders(handle), 1);
    EXPECT_FALSE(H::Share(nullptr));
    EXPECT_FALSE(H::Adopt(nullptr));

    auto *const detached = handle.Detach();
    EXPECT_EQ(detached, object);
    EXPECT_FALSE(handle);
    const H adopted = H::Adopt(detached);
    EXPECT_EQ(Holders(adopted), 1);
}

TYPED_TEST(Handles, AreAssignedToThemselvesAndToOneAnother)
{
    using H = TypeParam;
    H handle = Make<H>(), other = Make<H>();
    auto *const object = handle.Get();
    const H &alias = handle;
    handle = alias;
    EXPECT_EQ(handle.Get(), object);
    EXPECT_EQ(Holders(handle), 1);
    H &same = handle;
    handle = std::move(same);
    EXPECT_EQ(handle.Get(), object);
    EXPECT_EQ(Holders(handle), 1);

    other = handle; // whose own object goes
    EXPECT_EQ(other.Get(), object);
    EXPECT_EQ(Holders(handle), 2);
    handle = H();
    EXPECT_FALSE(handle);
    EXPECT_EQ(Holders(other), 1);
    std::swap(handle, other);
    EXPECT_EQ(handle.Get(), object);
    EXPECT_FALSE(other);
}

TYPED_TEST(Handles, AreEmptyAfterAMoveAndUsableAgain)
{
    using H = TypeParam;
    static_assert(std::is_nothrow_move_constructible_v<H> && std::is_nothrow_move_assignable_v<H>);
    H handle = Make<H>();
    auto *const object = handle.Get();
    H moved = std::move(handle);
    EXPECT_FALSE(handle); // NOLINT(bugprone-use-after-move): a moved-from handle is empty
    EXPECT_EQ(moved.Get(), object);
    EXPECT_EQ(Holders(moved), 1);
    H empty = handle; // a copy of nothing
    EXPECT_FALSE(empty);
    handle = moved;
    EXPECT_EQ(Holders(moved), 2);

    std::vector<H> many(3, handle); // moved as it grows, from the front and back
    many.push_back(moved);
    many.erase(many.begin());
    many.resize(20);
    EXPECT_EQ(Holders(handle), 5);
}

TEST(Face, AQueueThatIsReadPartsFromThoseThatShareIt)
{
    auto queue = Make<pcm::PacketQueue>();
    auto other = queue;
    Samples read(3, 9.0f); // one and a half frames: the half is left alone
    other.GatherSamples(read);
    EXPECT_EQ(read, (Samples{0.25f, 0.5f, 9.0f}));
    EXPECT_EQ(other.Frames(), 1);
    EXPECT_EQ(queue.Frames(), 2);
    other = queue;
    other.Write(pcm::Packet(2));
    EXPECT_EQ(other.Packets(), 2);
    EXPECT_EQ(queue.Packets(), 1);
}

TEST(Face, AFilterThatIsWrittenPartsFromThoseThatShareIt)
{
    auto filter = Make<pcm::Filter>();
    auto other = filter;
    other.Write(Make<pcm::Packet>());
    EXPECT_EQ(other.Frames(), 4);
    EXPECT_EQ(filter.Frames(), 2);
    Samples read(5, 9.0f); // two and a half frames: the half is left alone
    filter.GatherSamples(read);
    EXPECT_EQ(read, (Samples{0.125f, 0.25f, 0.0f, 0.0f, 9.0f}));
    EXPECT_EQ(other.Gather(4).Samples()[4], 0.0f); // remembers -0.25: (0.25 - 0.25) / 2
    EXPECT_EQ(Holders(filter.Coefficients()), 3);  // two filters and this one
}

TEST(Face, ToneHandlesShareTheOneTone)
{
    pcm::Tone tone(4);
    pcm::Tone same = tone;
    EXPECT_EQ(tone.Gather(1).Samples()[0], 0.0f);
    EXPECT_EQ(same.Gather(1).Samples()[0], 1.0f);
    EXPECT_EQ(tone.Get(), same.Get());
}

TEST(Face, PacketsOfASpanLeaveOutWhatIsNoWholeFrame)
{
    EXPECT_EQ(SamplesOf(MakePacket(2, {1, 2, 3}).Get()), (Samples{1, 2}));
    EXPECT_EQ(MakePacket(4, {1, 2, 3}).Frames(), 0);
    EXPECT_ABORT(MakePacket(0, {1}), "channels > 0");
    EXPECT_TRUE(MakePacket(2, {}).Samples().empty());
}

TEST(Face, TextsAndBytesMayBeEmpty)
{
    EXPECT_EQ(pcm::String("").View(), "");
    EXPECT_EQ(pcm::String(std::string_view()).View(), "");
    EXPECT_EQ(pcm::String(std::string_view("a\0b", 3)).View(), std::string_view("a\0b", 3));
    EXPECT_TRUE(pcm::Buffer(std::span<const std::byte>()).Bytes().empty());
}

} // namespace
