// Editing packets: write, insert, delete, at random and where it is refused.
#include "models/packet_model.h"

#include <csignal>
#include <unistd.h>

TEST(PacketEdit, AgreesWithListsOfFramesHoweverPacketsAreShared)
{
    Random random;
    PacketModel model(random);
    for (int step = 0; step < 5000 && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        model.Step();
    }
}

// What ends the process, in the order of the checks.

namespace {

constexpr pbInt kMost = INT64_MAX, kLeast = INT64_MIN;

PCM_PACKET *watched;
Samples watchedSamples;
const PCM_SAMPLE *watchedBacking;

/// The end by a failed check is left alone only if the packet is as it was.
void (*before)(int) = nullptr;

void EndOnlyIfUntouched(int signal)
{
    if (pcmPacketBacking(watched) != watchedBacking || SamplesOf(watched) != watchedSamples)
        _exit(1);
    if (before)
        before(signal);
}

void Watch(PCM_PACKET *pkt)
{
    watched = pkt;
    watchedSamples = SamplesOf(pkt);
    watchedBacking = pcmPacketBacking(pkt);
    before = std::signal(SIGABRT, EndOnlyIfUntouched);
}

/// A mono packet of 3 frames, with a source of 5.
struct Refused {
    const char *name;
    void (*call)(PCM_PACKET **pkt, PCM_PACKET *source, PCM_PACKET *stereo);
    const char *expression;
};

void CheckRefused(const std::vector<Refused> &rows)
{
    auto pkt = MakePacket(1, {1, 2, 3});
    const auto source = MakePacket(1, {1, 2, 3, 4, 5}), stereo = MakePacket(2, {1, 2, 3, 4, 5, 6});
    for (const Refused &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_ABORT_AT((Watch(pkt.Get()), row.call(pkt.Address(), source.Get(), stereo.Get())),
                        "source/pcm/pcm_packet", row.expression);
    }
}

PCM_PACKET *nothing = nullptr;

} // namespace

TEST(PacketWriteDeathTest, RefusesInTheOrderOfTheArguments)
{
    // clang-format off
    CheckRefused({
        {"no handle", [](auto, auto, auto) { pcmPacketWriteInner(nullptr, -1, nullptr, -1, -1); }, "pkt"},
        {"no packet", [](auto, auto, auto) { pcmPacketWriteInner(&nothing, -1, nullptr, -1, -1); }, "*pkt"},
        {"index", [](auto pkt, auto, auto) { pcmPacketWriteInner(pkt, -1, nullptr, -1, -1); }, "idx >= 0"},
        {"no source", [](auto pkt, auto, auto) { pcmPacketWriteInner(pkt, 4, nullptr, -1, -1); }, "source"},
        {"offset", [](auto pkt, auto source, auto) { pcmPacketWriteInner(pkt, 4, source, -1, -1); }, "offset >= 0"},
        {"frames", [](auto pkt, auto source, auto) { pcmPacketWriteInner(pkt, 4, source, 9, -1); }, "frames >= 0"},
        {"source sum", [](auto pkt, auto source, auto) { pcmPacketWriteInner(pkt, kMost, source, kMost, 1); }, "PB_INT_ADD_OK( offset, frames )"},
        {"source range", [](auto pkt, auto source, auto) { pcmPacketWriteInner(pkt, kMost, source, 4, 2); }, "offset + frames <= source->frames"},
        {"source range of none", [](auto pkt, auto source, auto) { pcmPacketWriteInner(pkt, kMost, source, 6, 0); }, "offset + frames <= source->frames"},
        {"sum", [](auto pkt, auto source, auto) { pcmPacketWriteInner(pkt, kMost, source, 4, 1); }, "PB_INT_ADD_OK( idx, frames )"},
        {"range", [](auto pkt, auto, auto stereo) { pcmPacketWriteInner(pkt, 3, stereo, 0, 1); }, "idx + frames <= (*pkt)->frames"},
        {"range of none", [](auto pkt, auto, auto stereo) { pcmPacketWriteInner(pkt, 4, stereo, 3, 0); }, "idx + frames <= (*pkt)->frames"},
        {"channels of none", [](auto pkt, auto, auto stereo) { pcmPacketWriteInner(pkt, 3, stereo, 3, 0); }, "(*pkt)->channels == source->channels"},
        {"all: source before handle", [](auto, auto, auto) { pcmPacketWrite(nullptr, 0, nullptr); }, "source"},
        {"all: too many", [](auto pkt, auto source, auto) { pcmPacketWrite(pkt, 0, source); }, "idx + frames <= (*pkt)->frames"},
        {"leading: handle before source", [](auto, auto, auto) { pcmPacketWriteLeading(nullptr, 0, nullptr, 0); }, "pkt"},
        {"trailing: source before handle", [](auto, auto, auto) { pcmPacketWriteTrailing(nullptr, 0, nullptr, 0); }, "source"},
        {"trailing: difference", [](auto, auto source, auto) { pcmPacketWriteTrailing(nullptr, 0, source, kLeast); }, "PB_INT_SUB_OK( source->frames, frames )"},
        {"trailing: too many", [](auto pkt, auto source, auto) { pcmPacketWriteTrailing(pkt, 0, source, 6); }, "offset >= 0"},
        {"outer: no handle", [](auto, auto, auto) { pcmPacketWriteOuter(nullptr, -1, nullptr, -1, -1); }, "pkt"},
        {"outer: no packet", [](auto, auto, auto) { pcmPacketWriteOuter(&nothing, -1, nullptr, -1, -1); }, "*pkt"},
        {"outer: index", [](auto pkt, auto, auto) { pcmPacketWriteOuter(pkt, -1, nullptr, -1, -1); }, "idx >= 0"},
        {"outer: source range", [](auto pkt, auto source, auto) { pcmPacketWriteOuter(pkt, kMost, source, 5, 1); }, "offset + frames <= source->frames"},
        {"outer: sum", [](auto pkt, auto source, auto) { pcmPacketWriteOuter(pkt, kMost, source, 0, 0); }, "PB_INT_ADD_OK( idx, source->frames - frames )"},
        {"outer: range", [](auto pkt, auto, auto stereo) { pcmPacketWriteOuter(pkt, 2, stereo, 0, 1); }, "idx + (source->frames - frames) <= (*pkt)->frames"},
        {"outer: channels", [](auto pkt, auto, auto stereo) { pcmPacketWriteOuter(pkt, 3, stereo, 0, 3); }, "(*pkt)->channels == source->channels"},
        {"zero: no handle", [](auto, auto, auto) { pcmPacketWriteZero(nullptr, -1, -1); }, "pkt"},
        {"zero: no packet", [](auto, auto, auto) { pcmPacketWriteZero(&nothing, -1, -1); }, "*pkt"},
        {"zero: index", [](auto pkt, auto, auto) { pcmPacketWriteZero(pkt, -1, -1); }, "idx >= 0"},
        {"zero: frames", [](auto pkt, auto, auto) { pcmPacketWriteZero(pkt, 4, -1); }, "frames >= 0"},
        {"zero: range of none", [](auto pkt, auto, auto) { pcmPacketWriteZero(pkt, 4, 0); }, "idx + frames <= (*pkt)->frames"},
        {"zero: sum", [](auto pkt, auto, auto) { pcmPacketWriteZero(pkt, 1, kMost); }, "PB_INT_ADD_OK( idx, frames )"},
        {"zero: range", [](auto pkt, auto, auto) { pcmPacketWriteZero(pkt, 2, 2); }, "idx + frames <= (*pkt)->frames"},
    });
    // clang-format on
}

TEST(PacketInsertDeathTest, RefusesBeforeAGapOpens)
{
    // clang-format off
    CheckRefused({
        {"no handle", [](auto, auto, auto) { pcmPacketInsertInner(nullptr, -1, nullptr, -1, -1); }, "pkt"},
        {"no packet", [](auto, auto, auto) { pcmPacketInsertInner(&nothing, -1, nullptr, -1, -1); }, "*pkt"},
        {"index", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, -1, nullptr, -1, -1); }, "idx >= 0"},
        {"frames", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, 4, nullptr, -1, -1); }, "frames >= 0"},
        {"sum", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, 1, nullptr, -1, kMost); }, "PB_INT_ADD_OK( idx, frames )"},
        {"length", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, 0, nullptr, -1, kMost); }, "PB_INT_ADD_OK( (*pkt)->frames, frames )"},
        {"beyond", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, 4, nullptr, -1, 1); }, "idx + frames <= (*pkt)->frames"},
        {"no source", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, 3, nullptr, -1, 1); }, "source"},
        {"no source for none", [](auto pkt, auto, auto) { pcmPacketInsertInner(pkt, 4, nullptr, -1, 0); }, "source"},
        {"offset", [](auto pkt, auto source, auto) { pcmPacketInsertInner(pkt, 3, source, -1, 1); }, "offset >= 0"},
        {"source sum", [](auto pkt, auto source, auto) { pcmPacketInsertInner(pkt, 0, source, kMost, 1); }, "PB_INT_ADD_OK( offset, frames )"},
        {"source range", [](auto pkt, auto, auto stereo) { pcmPacketInsertInner(pkt, 0, stereo, 3, 1); }, "offset + frames <= source->frames"},
        {"source range, huge", [](auto pkt, auto source, auto) { pcmPacketInsertInner(pkt, 0, source, 0, kMost / 2); }, "offset + frames <= source->frames"},
        {"beyond, none", [](auto pkt, auto, auto stereo) { pcmPacketInsertInner(pkt, 4, stereo, 3, 0); }, "idx + frames <= (*pkt)->frames"},
        {"channels", [](auto pkt, auto, auto stereo) { pcmPacketInsertInner(pkt, 3, stereo, 0, 1); }, "(*pkt)->channels == source->channels"},
        {"channels, none", [](auto pkt, auto, auto stereo) { pcmPacketInsertInner(pkt, 3, stereo, 3, 0); }, "(*pkt)->channels == source->channels"},
        {"outer: no handle", [](auto, auto, auto) { pcmPacketInsertOuter(nullptr, -1, nullptr, -1, -1); }, "pkt"},
        {"outer: source before packet", [](auto, auto, auto) { pcmPacketInsertOuter(&nothing, -1, nullptr, -1, -1); }, "source"},
        {"outer: difference", [](auto, auto source, auto) { pcmPacketInsertOuter(&nothing, -1, source, -1, kLeast); }, "PB_INT_SUB_OK( source->frames, frames )"},
        {"outer: no packet", [](auto, auto source, auto) { pcmPacketInsertOuter(&nothing, -1, source, -1, 6); }, "*pkt"},
        {"outer: index", [](auto pkt, auto source, auto) { pcmPacketInsertOuter(pkt, -1, source, -1, 6); }, "idx >= 0"},
        {"outer: too many", [](auto pkt, auto source, auto) { pcmPacketInsertOuter(pkt, 4, source, -1, 6); }, "frames >= 0"},
        {"outer: beyond", [](auto pkt, auto source, auto) { pcmPacketInsertOuter(pkt, 4, source, -1, -1); }, "idx + frames <= (*pkt)->frames"},
        {"outer: offset", [](auto pkt, auto source, auto) { pcmPacketInsertOuter(pkt, 3, source, -1, -1); }, "offset >= 0"},
        {"outer: frames", [](auto pkt, auto source, auto) { pcmPacketInsertOuter(pkt, 3, source, 0, -kMost / 4); }, "frames >= 0"},
        {"outer: source range", [](auto pkt, auto, auto stereo) { pcmPacketInsertOuter(pkt, 3, stereo, 2, 2); }, "offset + frames <= source->frames"},
        {"outer: channels", [](auto pkt, auto, auto stereo) { pcmPacketInsertOuter(pkt, 3, stereo, 0, 3); }, "(*pkt)->channels == source->channels"},
        {"zero: no handle", [](auto, auto, auto) { pcmPacketInsertZero(nullptr, -1, -1); }, "pkt"},
        {"zero: no packet", [](auto, auto, auto) { pcmPacketInsertZero(&nothing, -1, -1); }, "*pkt"},
        {"zero: frames", [](auto pkt, auto, auto) { pcmPacketInsertZero(pkt, 4, -1); }, "frames >= 0"},
        {"zero: beyond", [](auto pkt, auto, auto) { pcmPacketInsertZero(pkt, 4, 1); }, "idx + frames <= (*pkt)->frames"},
        {"zero: beyond, huge", [](auto pkt, auto, auto) { pcmPacketInsertZero(pkt, 4, kMost / 2); }, "idx + frames <= (*pkt)->frames"},
        {"zero: beyond, none", [](auto pkt, auto, auto) { pcmPacketInsertZero(pkt, 4, 0); }, "idx + frames <= (*pkt)->frames"},
        {"zero: bytes", [](auto pkt, auto, auto) { pcmPacketInsertZero(pkt, 3, kMost / 2); }, "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )"},
        {"all: source first", [](auto, auto, auto) { pcmPacketInsert(nullptr, 0, nullptr); }, "source"},
        {"leading: source first", [](auto, auto, auto) { pcmPacketInsertLeading(nullptr, 0, nullptr, 0); }, "source"},
        {"leading: too many", [](auto pkt, auto source, auto) { pcmPacketPrependLeading(pkt, source, 6); }, "offset + frames <= source->frames"},
        {"trailing: source first", [](auto, auto, auto) { pcmPacketInsertTrailing(nullptr, 0, nullptr, 0); }, "source"},
        {"trailing: difference", [](auto, auto source, auto) { pcmPacketInsertTrailing(nullptr, 0, source, kLeast); }, "PB_INT_SUB_OK( source->frames, frames )"},
        {"trailing: too many", [](auto pkt, auto source, auto) { pcmPacketPrependTrailing(pkt, source, 6); }, "offset >= 0"},
        {"prepend: source first", [](auto, auto, auto) { pcmPacketPrepend(nullptr, nullptr); }, "source"},
        {"prepend inner: handle first", [](auto, auto, auto) { pcmPacketPrependInner(nullptr, nullptr, -1, -1); }, "pkt"},
        {"append: handle first", [](auto, auto, auto) { pcmPacketAppend(nullptr, nullptr); }, "pkt"},
        {"append: packet next", [](auto, auto, auto) { pcmPacketAppend(&nothing, nullptr); }, "*pkt"},
        {"append: then source", [](auto pkt, auto, auto) { pcmPacketAppend(pkt, nullptr); }, "source"},
        {"append inner: handle first", [](auto, auto, auto) { pcmPacketAppendInner(nullptr, nullptr, -1, -1); }, "pkt"},
        {"append leading: packet next", [](auto, auto, auto) { pcmPacketAppendLeading(&nothing, nullptr, -1); }, "*pkt"},
        {"append trailing: packet next", [](auto, auto, auto) { pcmPacketAppendTrailing(&nothing, nullptr, -1); }, "*pkt"},
        {"append outer: packet next", [](auto, auto, auto) { pcmPacketAppendOuter(&nothing, nullptr, -1, -1); }, "*pkt"},
        {"append zero: handle first", [](auto, auto, auto) { pcmPacketAppendZero(nullptr, -1); }, "pkt"},
        {"append zero: packet next", [](auto, auto, auto) { pcmPacketAppendZero(&nothing, -1); }, "*pkt"},
    });
    // clang-format on
    pcm::Packet wide(pbInt{1} << 62), wider(pbInt{1} << 60);
    EXPECT_ABORT(wide.AppendZero(1), "PB_INT_MUL_OK( channels, PB_SIZEOF( PCM_SAMPLE ) )");
    EXPECT_ABORT(wider.SetFrames(2), "PB_INT_MUL_OK( frames, channels * PB_SIZEOF( PCM_SAMPLE ) )");
    wide.AppendZero(0);
    wide.Append(wide);
}

TEST(PacketDelDeathTest, RefusesWhatIsNotThere)
{
    // clang-format off
    CheckRefused({
        {"no handle", [](auto, auto, auto) { pcmPacketDelInner(nullptr, -1, -1); }, "pkt"},
        {"no packet", [](auto, auto, auto) { pcmPacketDelInner(&nothing, -1, -1); }, "*pkt"},
        {"index", [](auto pkt, auto, auto) { pcmPacketDelInner(pkt, -1, -1); }, "idx >= 0"},
        {"frames", [](auto pkt, auto, auto) { pcmPacketDelInner(pkt, 4, -1); }, "frames >= 0"},
        {"range of none", [](auto pkt, auto, auto) { pcmPacketDelInner(pkt, 4, 0); }, "idx + frames <= (*pkt)->frames"},
        {"sum", [](auto pkt, auto, auto) { pcmPacketDelInner(pkt, 1, kMost); }, "PB_INT_ADD_OK( idx, frames )"},
        {"range", [](auto pkt, auto, auto) { pcmPacketDelInner(pkt, 1, 3); }, "idx + frames <= (*pkt)->frames"},
        {"outer: no handle", [](auto, auto, auto) { pcmPacketDelOuter(nullptr, -1, -1); }, "pkt"},
        {"outer: index", [](auto pkt, auto, auto) { pcmPacketDelOuter(pkt, -1, -1); }, "idx >= 0"},
        {"outer: range of none", [](auto pkt, auto, auto) { pcmPacketDelOuter(pkt, 4, 0); }, "idx + frames <= (*pkt)->frames"},
        {"outer: sum", [](auto pkt, auto, auto) { pcmPacketDelOuter(pkt, 1, kMost); }, "PB_INT_ADD_OK( idx, frames )"},
        {"leading", [](auto pkt, auto, auto) { pcmPacketDelLeading(pkt, 4); }, "idx + frames <= (*pkt)->frames"},
        {"trailing: no handle", [](auto, auto, auto) { pcmPacketDelTrailing(nullptr, -1); }, "pkt"},
        {"trailing: no packet", [](auto, auto, auto) { pcmPacketDelTrailing(&nothing, -1); }, "*pkt"},
        {"trailing: difference", [](auto pkt, auto, auto) { pcmPacketDelTrailing(pkt, kLeast); }, "PB_INT_SUB_OK( (*pkt)->frames, frames )"},
        {"trailing: too many", [](auto pkt, auto, auto) { pcmPacketDelTrailing(pkt, 4); }, "idx >= 0"},
        {"trailing: frames", [](auto pkt, auto, auto) { pcmPacketDelTrailing(pkt, -1); }, "frames >= 0"},
        {"set: no handle", [](auto, auto, auto) { pcmPacketSetFrames(nullptr, -1); }, "pkt"},
        {"set: no packet", [](auto, auto, auto) { pcmPacketSetFrames(&nothing, -1); }, "*pkt"},
        {"set: frames", [](auto pkt, auto, auto) { pcmPacketSetFrames(pkt, -1); }, "frames >= 0"},
    });
    // clang-format on
}
