// The edges: of arrays, of 64 bits, of memory, and of what belongs to the caller's thread.
#include "support.h"

#include <atomic>
#include <cstring>
#include <fenv.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SANITIZED 1
#endif
#endif

namespace {

/// Bytes between two pages that nobody may touch.
class Guarded {
public:
    Guarded()
        : pages_(
              static_cast<uint8_t *>(mmap(nullptr, kSize + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        EXPECT_EQ(mprotect(pages_ + kPage, kSize, PROT_READ | PROT_WRITE), 0);
    }
    ~Guarded() { munmap(pages_, kSize + 2 * kPage); }
    Guarded(const Guarded &) = delete;
    Guarded &operator=(const Guarded &) = delete;

    /// Room for elements so far behind the first page, or so far before the last.
    template <class T> T *Room(bool atEnd, pbInt elements, pbInt distance) const
    {
        T *const start = reinterpret_cast<T *>(pages_ + kPage), *const end = start + kSize / sizeof(T);
        return atEnd ? end - distance - elements : start + distance;
    }

private:
    static constexpr std::size_t kPage = 65536, kSize = 65536; // of every kind of machine

    uint8_t *const pages_;
};

/// Calls with every length, distance from the pages, and side.
template <class Call> void AtTheEdges(Call call)
{
    for (const bool atEnd : {false, true})
        for (pbInt distance = 0; distance < 8; ++distance)
            for (pbInt length = 0; length <= 130; ++length)
                call(atEnd, length, distance);
}

/// Uses every family once, edits shared objects, and leaves nothing behind. Only the library allocates.
void UseAll()
{
    PCM_PACKET *pkt = pcmPacketCreate(2), *noise = pcmNoiseGather(40);
    pcmPacketAppendZero(&pkt, 40);
    PCM_PACKET *const kept = pkt;
    pcmPacketRetain(kept);
    pcmPacketInsertLeading(&pkt, 5, pkt, 10);
    pcmPacketWriteInner(&pkt, 0, kept, 1, 3);
    pcmPacketDelTrailing(&pkt, 10);
    pcmPacketSetChannels(&pkt, 3);
    pcmFramesExtend(&pkt, 3);
    pcmLevelAdjust(&pkt, -6.0);
    pcmChannelsAdjustReplaceWithDownmix(&pkt, 1);
    PB_BUFFER *const bytes = pcmPacketEncode(noise, PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32);
    PB_BUFFER *const converted =
        pcmTryConvert(PCM_ENCODING_G711_ALAW, bytes, PCM_ENCODING_INT_24 | PCM_ENCODING_PACK_32);
    PCM_PACKET *const decoded = pcmPacketTryDecode(converted, PCM_ENCODING_G711_ALAW, 1);
    PB_STRING *const text = pcmEncodingToString(PCM_ENCODING_INT_16 | PCM_ENCODING_UNSIGNED);
    PCM_FILTER_COEFFICIENTS *const set = pcmFilterCoefficientsCreate(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000);
    PCM_FILTER *filter = pcmFilterCreate(set, 1), *const shared = filter;
    pcmFilterRetain(shared);
    pcmFilterWrite(&filter, decoded);
    pcmFilterWrite(&filter, noise);
    PCM_PACKET *const filtered = pcmFilterGather(&filter, 50);
    PCM_PACKET_QUEUE *queue = pcmPacketQueueCreate(1);
    pcmPacketQueueWrite(&queue, pkt);
    pcmPacketQueueWrite(&queue, filtered);
    PCM_PACKET_QUEUE *const copy = pcmPacketQueueCreateFrom(queue);
    PCM_PACKET *const gathered = pcmPacketQueueGather(&queue, 120);
    PCM_TONE *const tone = pcmToneCreate(100);
    PCM_PACKET *const toned = pcmModulatedToneGather(tone, tone, 300);
    for (PCM_PACKET *each : {pkt, kept, noise, decoded, filtered, gathered, toned})
        pcmPacketRelease(each);
    pcmPacketQueueRelease(queue);
    pcmPacketQueueRelease(copy);
    pcmFilterRelease(filter);
    pcmFilterRelease(shared);
    pcmFilterCoefficientsRelease(set);
    pcmToneRelease(tone);
    for (PB_BUFFER *each : {bytes, converted})
        pbObjRelease(reinterpret_cast<PB_OBJ *>(each));
    pbObjRelease(reinterpret_cast<PB_OBJ *>(text));
}

/// Allocations left until one fails, or negative for as many as are wanted.
std::atomic<int> allocationsLeft{-1};

} // namespace

TEST(Edges, NoArrayIsTouchedBeyondItsEnds)
{
    const Guarded to, from;
    const pcm::Tone a(37), b(50);
    const auto one = pcm::Packet(Samples(400), 1);
    AtTheEdges([&](bool atEnd, pbInt length, pbInt distance) {
        PCM_SAMPLE *const dest = to.Room<PCM_SAMPLE>(atEnd, length, distance);
        const PCM_SAMPLE *const source = from.Room<PCM_SAMPLE>(atEnd, length, distance / 2);
        for (const auto kernel : {pcm___SamplesCopy, pcm___SamplesMove, pcm___SamplesAdd, pcm___SamplesMul})
            kernel(dest, source, length);
        pcm___SamplesScale(dest, length, 0.5);
        pcmLevelAdjustSamples(dest, length, -6.0);
        for (const auto gather : {pcmDualToneGatherSamples, pcmDualToneGatherSamplesAdd, pcmModulatedToneGatherSamples,
                                  pcmModulatedToneGatherSamplesAdd})
            gather(a.Get(), b.Get(), dest, length);
        pcmToneGatherSamples(a.Get(), dest, length);
        pcmToneGatherSamplesAdd(a.Get(), dest, length);
        pcmNoiseGatherSamples(dest, length);
        pcmNoiseGatherSamplesAdd(dest, length);
        pcmSilenceGatherSamples(dest, length);
        auto queue = pcm::PacketQueue(1);
        queue.Write(one);
        queue.GatherSamples(std::span(dest, static_cast<std::size_t>(length)));
        if (length)
            queue.GatherSamplesAdd(std::span(dest, static_cast<std::size_t>(length)));
        EXPECT_EQ(pcm::Packet(std::span(source, static_cast<std::size_t>(length)), 1).Frames(), length);

        const pbInt channels = distance + 1, frames = length;
        PCM_SAMPLE *const wide = to.Room<PCM_SAMPLE>(atEnd, frames * channels, 0);
        const PCM_SAMPLE *const narrow = from.Room<PCM_SAMPLE>(atEnd, frames * 2, 0);
        for (const pbInt channel : {pbInt{0}, channels - 1}) {
            for (const auto kernel : {pcm___SamplesChannelCopy, pcm___SamplesChannelAdd, pcm___SamplesChannelMul})
                kernel(wide, channel, channels, narrow, channel % 2, 2, frames);
            pcm___SamplesChannelScale(wide, channel, channels, frames, 0.5);
            pcm___SamplesChannelZero(wide, channel, channels, frames);
        }
        auto pkt = pcm::Packet(Samples(static_cast<std::size_t>(frames * 2)), 2);
        pcmPacketWriteChannelsSamples(pkt.Address(), 0, 0, narrow, 1, 2, 0, 1, frames);
    });
}

TEST(Edges, NoByteIsConvertedBeyondTheEnds)
{
    const Guarded to, from;
    const PCM_ENCODING packs[] = {0, 0x1000, 0x2000, 0x4000, 0x8000, 0x10000, 0x20000, 0x40000};
    for (const PCM_ENCODING type : {1, 2, 4, 8, 16, 32, 64})
        for (const PCM_ENCODING variant : {0, 0x80, 0x100, 0x180, 0x400})
            for (const PCM_ENCODING pack : packs) {
                const PCM_ENCODING encoding = type | variant | pack;
                const pbInt size = pcmEncodingSizeofSample(encoding);
                AtTheEdges([&](bool atEnd, pbInt length, pbInt distance) {
                    PCM_SAMPLE *const samples = to.Room<PCM_SAMPLE>(atEnd, length, 0);
                    uint8_t *const bytes = from.Room<uint8_t>(atEnd, length * size, distance);
                    pcm___Convert(samples, 0, bytes, encoding, length);
                    pcm___Convert(bytes, encoding, samples, 0, length);
                    if (distance == 0) // between two encodings, in pieces
                        pcm___Convert(to.Room<uint8_t>(atEnd, 2 * length, 1), PCM_ENCODING_INT_16, bytes, encoding,
                                      length);
                });
            }
}

TEST(Edges, ValuesAtTheEndsOf64BitsAreTakenOrRefused)
{
    static pcm::Packet pkt, source;
    static pcm::PacketQueue queue;
    pkt = source = MakePacket(2, {1, 2, 3, 4});
    queue = pcm::PacketQueue(2);
    queue.Write(source);
    using Operation = void (*)(PCM_PACKET * *pkt, PCM_PACKET * source, pbInt v);
    // clang-format off
    static constexpr Operation operations[] = {
        [](auto, auto, auto v) { pcmPacketCreate(v); }, [](auto, auto, auto v) { pcmPacketCreateFromSamplesCopy(nullptr, 1, v); },
        [](auto p, auto s, auto v) { pcmPacketWriteInner(p, v, s, 0, 1); }, [](auto p, auto s, auto v) { pcmPacketWriteInner(p, 1, s, v, 1); },
        [](auto p, auto s, auto v) { pcmPacketWriteInner(p, 1, s, 1, v); }, [](auto p, auto s, auto v) { pcmPacketWriteOuter(p, 1, s, 1, v); },
        [](auto p, auto s, auto v) { pcmPacketWriteLeading(p, 1, s, v); }, [](auto p, auto s, auto v) { pcmPacketWriteTrailing(p, 1, s, v); },
        [](auto p, auto, auto v) { pcmPacketWriteZero(p, v, v); }, [](auto p, auto s, auto v) { pcmPacketInsertInner(p, v, s, v, v); },
        [](auto p, auto s, auto v) { pcmPacketInsertOuter(p, 0, s, v, 1); }, [](auto p, auto s, auto v) { pcmPacketAppendTrailing(p, s, v); },
        [](auto p, auto, auto v) { pcmPacketInsertZero(p, 1, v); }, [](auto p, auto, auto v) { pcmPacketDelInner(p, v, 1); },
        [](auto p, auto, auto v) { pcmPacketDelOuter(p, 1, v); }, [](auto p, auto, auto v) { pcmPacketDelTrailing(p, v); },
        [](auto p, auto, auto v) { pcmPacketSetFrames(p, v); }, [](auto p, auto, auto v) { pcmPacketSetChannels(p, v); },
        [](auto, auto s, auto v) { pcmPacketCreateFromWithChannels(s, v); }, [](auto, auto s, auto v) { pcmPacketCreateFromWithChannelMask(s, v); },
        [](auto p, auto s, auto v) { pcmPacketWriteChannels(p, v, 0, s, 0, 0, 1, 1); }, [](auto p, auto s, auto v) { pcmPacketWriteChannels(p, 0, v, s, 0, v, 1, 1); },
        [](auto p, auto s, auto v) { pcmPacketWriteChannels(p, 0, 0, s, v, 0, v, 1); }, [](auto p, auto s, auto v) { pcmPacketWriteChannels(p, 0, 0, s, 0, 1, 1, v); },
        [](auto, auto s, auto v) { pcmPacketEncode(s, v); }, [](auto, auto, auto v) { pcmEncodingSizeofFrame(v, v); },
        [](auto p, auto, auto v) { pcmChannelsAdjustReplaceWithDownmix(p, v); }, [](auto p, auto, auto v) { pcmChannelsAdjustExpandWithDownmix(p, v); },
        [](auto p, auto, auto v) { pcmFramesExtend(p, v); }, [](auto p, auto, auto v) { pcmFramesReduce(p, v); },
        [](auto, auto, auto v) { pcmPacketQueueGather(queue.Address(), v); }, [](auto, auto, auto v) { pcmPacketQueueGatherSamples(queue.Address(), nullptr, v); },
        [](auto, auto, auto v) { pcmFilterCoefficientsCreate(v); }, [](auto, auto, auto v) { pcmFilterTypeToString(v); },
        [](auto, auto, auto v) { pcmFilterCreate(pcmFilterCoefficientsCreate(0), v); }, [](auto, auto, auto v) { pcmToneCreate(v); },
        [](auto, auto, auto v) { pcmToneTryCreateWithFrequency(v, v); }, [](auto, auto, auto v) { pcmToneGather(pcmToneCreate(9), v); },
        [](auto, auto, auto v) { pcmNoiseGather(v); }, [](auto, auto, auto v) { pcmSilenceGather(v); },
        [](auto, auto, auto v) { pcm___Convert(nullptr, v, nullptr, v, v); }, [](auto, auto, auto v) { pcm___SamplesZero(nullptr, v); },
    };
    // clang-format on
    for (std::size_t i = 0; i < std::size(operations); ++i)
        for (const pbInt value : {INT64_MIN, INT64_MIN + 1, pbInt{-1}, pbInt{1} << 60, pbInt{1} << 61, pbInt{1} << 62,
                                  INT64_MAX - 1, INT64_MAX}) {
            SCOPED_TRACE(testing::Message() << "operation " << i << " of " << value);
            EXPECT_EXIT(
                (operations[i](pkt.Address(), source.Get(), value), _exit(0)),
                [](int status) { return WIFSIGNALED(status) ? WTERMSIG(status) == SIGABRT : WEXITSTATUS(status) == 0; },
                "^$|source/p(b|cm)/[a-z0-9_]+:[0-9]+: ");
        }
    pkt = source = pcm::Packet();
    queue = pcm::PacketQueue();
}

TEST(Edges, ControlOfFloatingPointIsTheCallers)
{
    femode_t atFirst{}, usual{}, mine{}, after{};
    feclearexcept(FE_ALL_EXCEPT); // the flags are no control, but kept beside it
    ASSERT_EQ(fegetmode(&atFirst), 0);
    fesetmode(FE_DFL_MODE);
    fegetmode(&usual);
    EXPECT_EQ(std::memcmp(&atFirst, &usual, sizeof(usual)), 0); // so loading the library has left it
    fesetround(FE_UPWARD);
    feclearexcept(FE_ALL_EXCEPT);
    fegetmode(&mine);
    UseAll();
    feclearexcept(FE_ALL_EXCEPT);
    fegetmode(&after);
    fesetmode(&atFirst);
    EXPECT_EQ(std::memcmp(&mine, &after, sizeof(mine)), 0);
}

#ifndef SANITIZED // which have allocators of their own

extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_realloc(void *block, std::size_t size);

extern "C" void *malloc(std::size_t size) noexcept
{
    return allocationsLeft >= 0 && allocationsLeft-- == 0 ? nullptr : __libc_malloc(size);
}

extern "C" void *realloc(void *block, std::size_t size) noexcept
{
    return allocationsLeft >= 0 && allocationsLeft-- == 0 ? nullptr : __libc_realloc(block, size);
}

TEST(Edges, MemoryThatCannotBeHadEndsTheProcessWhereverItIsMissed)
{
    bool enough = false;
    for (int allocations = 0; !enough && allocations < 1000; ++allocations) {
        SCOPED_TRACE(allocations);
        const auto run = [=] {
            allocationsLeft = allocations;
            UseAll();
            _exit(allocationsLeft > 0 ? 2 : 3);
        };
        EXPECT_EXIT(
            run(),
            [&](int status) {
                enough = WIFEXITED(status) && WEXITSTATUS(status) == 2;
                return WIFSIGNALED(status) ? WTERMSIG(status) == SIGABRT : WIFEXITED(status);
            },
            "^$|^source/pb/pb_[a-z]+:[0-9]+: memory\n(qemu: .*\n)?$"); // an emulator adds a line
    }
    EXPECT_TRUE(enough);
}

#endif
