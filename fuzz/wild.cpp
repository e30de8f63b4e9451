// Every operation with wild counts, indices, masks and decibels, and with objects missing. It succeeds, or it ends the
// process with the text of a check before it has changed a packet; anything else is a fault.
//
// The process does not really end: this program's own pb___Abort jumps back. What the call then leaves behind, and all
// else that an input has made, is found by a list of its blocks and freed when the input is done.
#include "../tests/operations.h"
#include "fuzz.h"

#include <pb/pb.h>

#include <sanitizer/allocator_interface.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <numeric>

namespace {

constexpr pbInt kMostBytes = 1 << 20; // of a block: more stands for memory that cannot be had
constexpr pbInt kSmall = 45;          // the largest number beside which an operation gets an array
constexpr int kSlots = 4;             // objects of a sort; the last place stays empty

std::jmp_buf back;
bool calling = false, exhausted = false;
thread_local bool tested = false; // libFuzzer has a thread of its own, whose blocks are none of the input's

// Blocks of the input at hand.
const volatile void *blocks[1 << 14];
std::size_t blockCount = 0;

void Made(const volatile void *block, std::size_t)
{
    if (tested && calling && blockCount < std::size(blocks))
        blocks[blockCount++] = block;
}

void Freed(const volatile void *block)
{
    const auto end = blocks + (tested ? blockCount : 0), at = std::find(blocks, end, block);
    if (at != end)
        *at = blocks[--blockCount];
}

Random *input;
PB_OBJ *objects[kSorts][kSlots + 1];
PCM_SAMPLE dest[kSmall * kMostBytes / sizeof(PCM_SAMPLE)], source[2 * kSmall * (kSmall + 1)];

/// Puts an object in one place, or in two.
void Keep(int sort, void *object)
{
    auto &slots = objects[sort];
    slots[input->From(0, kSlots - 1)] = static_cast<PB_OBJ *>(object);
    if (object && input->OneIn(4))
        pbObjRetain(slots[input->From(0, kSlots - 1)] = static_cast<PB_OBJ *>(object));
}

pbInt AnyNumber()
{
    switch (input->From(0, 3)) {
    case 0: return static_cast<pbInt>(input->Bits());
    case 1: {
        const auto power = uint64_t{1} << input->From(0, 63), near = static_cast<uint64_t>(input->From(-2, 2));
        return static_cast<pbInt>((input->OneIn(2) ? power : INT64_MAX / power) + near);
    }
    default: return input->From(-2, 13);
    }
}

void CallAny(const Operation &operation)
{
    if (operation.name.starts_with("pb")) // the runtime's own, of which the library makes no wild use
        return;
    Word words[9] = {}; // arrays are null unless every number is small, as what is too much for them must be refused
    bool small = !input->OneIn(8);
    for (std::size_t i = 0; i < operation.arguments.size(); ++i) {
        const auto [kind, sort] = operation.arguments[i];
        const pbInt slot = input->From(0, input->OneIn(8) ? kSlots + 1 : kSlots - 1);
        if (kind == Argument::Int) {
            words[i] = static_cast<Word>(AnyNumber());
            small = small && static_cast<pbInt>(words[i]) <= kSmall;
        } else if (kind == Argument::Real) {
            words[i] = input->OneIn(2) ? input->Bits() : std::bit_cast<Word>(static_cast<double>(AnyNumber() % 250));
        } else if (kind == Argument::Object) {
            words[i] = reinterpret_cast<Word>(objects[sort][std::min<pbInt>(slot, kSlots)]);
        } else if (kind == Argument::Handle) {
            words[i] = slot > kSlots ? 0 : reinterpret_cast<Word>(&objects[sort][slot]);
        }
    }
    for (std::size_t i = 0, arrays = 0; small && i < operation.arguments.size(); ++i)
        if (operation.arguments[i].kind == Argument::Array)
            words[i] = reinterpret_cast<Word>(arrays++ ? source : dest);
    const Word result = operation.call(words);
    if (operation.result.kind == Argument::Object)
        Keep(operation.result.sort, reinterpret_cast<void *>(result));
}

/// A text and a buffer of any bytes.
void MakeBytes()
{
    const pbInt length = input->From(0, 30);
    auto *const bytes = static_cast<char *>(pbMemAlloc(length));
    for (pbInt i = 0; i < length; ++i)
        bytes[i] = static_cast<char>(input->From(0, 255));
    Keep(Sorts::Place<PB_STRING>(), pbStringCreateFromCstr(bytes, length));
    Keep(Sorts::Place<PB_BUFFER>(), pbBufferCreateFromBytesUse(bytes, length));
}

/// The packets and what they hold; of long ones, the first samples.
auto Packets()
{
    std::vector<std::tuple<PCM_PACKET *, pbInt, pbInt, std::vector<uint32_t>>> packets;
    for (PB_OBJ *obj : objects[Sorts::Place<PCM_PACKET>()])
        if (PCM_PACKET *const pkt = pcmPacketFrom(obj)) {
            const pbInt channels = pcmPacketChannels(pkt), frames = pcmPacketFrames(pkt);
            const auto count = frames ? static_cast<std::size_t>(std::min<pbInt>(channels * frames, 4096)) : 0;
            const std::span samples(pcmPacketBacking(pkt), count);
            packets.emplace_back(pkt, channels, frames, BitsOf(Samples(samples.begin(), samples.end())));
        }
    return packets;
}

/// Whether the call comes back.
template <class Call> bool Comes(const Call &call)
{
    calling = true;
    const bool comes = !setjmp(back);
    if (comes)
        call();
    calling = false;
    return comes;
}

} // namespace

void pb___Abort(const char *context, const char *file, pbInt line, const char *expression)
{
    if (calling && std::strncmp(file, "source/p", 8) == 0 && line > 0 && *expression)
        std::longjmp(back, 1);
    Runtime<decltype(pb___Abort)>("pb___Abort")(context, file, line, expression);
    std::abort();
}

// Blocks beyond a size are refused as if there were no memory for them.
void *pbMemReallocN(void *block, pbInt count, pbInt size)
{
    exhausted |= PB_INT_MUL_OK(count, size) && count * size > kMostBytes;
    return Runtime<decltype(pbMemReallocN)>("pbMemReallocN")(block, exhausted ? INT64_MAX : count, size);
}
void *pbMemAllocN(pbInt count, pbInt size)
{
    return pbMemReallocN(nullptr, count, size);
}
void *pbMemAlloc(pbInt bytes)
{
    return pbMemReallocN(nullptr, bytes, 1);
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    std::iota(std::begin(source), std::end(source), -100.0f);
    pcmModule()->startup();
    __sanitizer_install_malloc_and_free_hooks(Made, Freed);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    static const std::vector<Operation> operations = AllOperations();
    tested = true;
    Random random(std::span(data, size));
    input = &random;
    exhausted = false;
    Comes([] {
        const pbInt channels = input->From(1, 3);
        Keep(Sorts::Place<PCM_PACKET>(), pcmPacketCreateFromSamplesCopy(source, channels, input->From(0, 20)));
        Keep(Sorts::Place<PCM_PACKET_QUEUE>(), pcmPacketQueueCreate(channels));
        Keep(Sorts::Place<PCM_TONE>(), pcmToneCreate(input->From(1, 40)));
        auto *const taps = pcmFilterCoefficientsCreate(input->From(0, 6));
        Keep(Sorts::Place<PCM_FILTER_COEFFICIENTS>(), taps);
        Keep(Sorts::Place<PCM_FILTER>(), pcmFilterCreate(taps, channels));
    });
    while (!random.Done() && !exhausted && blockCount < std::size(blocks)) {
        const auto before = Packets();
        const bool comes = Comes([&] { random.OneIn(16) ? MakeBytes() : CallAny(random.Of(operations)); });
        if (!comes && !exhausted && Packets() != before) {
            std::fprintf(stderr, "A refused call has changed a packet\n");
            std::abort();
        }
    }
    std::fill_n(&objects[0][0], sizeof(objects) / sizeof(objects[0][0]), nullptr);
    while (blockCount)
        std::free(const_cast<void *>(blocks[--blockCount]));
    return 0;
}
