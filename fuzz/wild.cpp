// Every operation with numbers of any size and with objects missing, one call after another. A call succeeds, or ends
// the process with the text of a check before it has changed a packet; anything else is a fault. The process does not
// really end: this program's own pb___Abort jumps back, and what the call held by then is not released.
#include "../tests/operations.h"

#include <algorithm>
#include <csetjmp>

namespace {

std::jmp_buf back;
bool calling = false;

/// Small, or at an edge of 64 bits, or nearly any bits: none between, for which there might be memory.
Word Number(Random &random)
{
    const auto near = static_cast<Word>(random.From(-2, 2));
    switch (random.From(0, 4)) {
    case 0: return random.Bits() | Word{1} << 54;
    case 1: return (Word{1} << random.From(54, 63)) + near;
    case 2: return Word{INT64_MAX} / static_cast<Word>(random.From(1, 9)) + near;
    default: return static_cast<Word>(random.From(-1, 13));
    }
}

/// The channels and samples of the packets.
auto Contents(Subjects &subjects)
{
    std::vector<std::pair<pbInt, std::string>> contents;
    for (const Subject<PCM_PACKET> *pkt : subjects.packets) {
        const Samples samples = SamplesOf(*pkt);
        contents.emplace_back(pcmPacketChannels(*pkt),
                              std::string(reinterpret_cast<const char *>(samples.data()), samples.size() * 4));
    }
    return contents;
}

/// One of the subjects; now and then null, or the handle of nothing.
Word Any(Random &random, Subjects &subjects, const Argument &argument)
{
    if (random.OneIn(5))
        return argument.kind == Argument::Handle && random.OneIn(2) ? std::bit_cast<Word>(&subjects.empty.object) : 0;
    const bool packet = argument.sort == Sorts::Place<PCM_PACKET>();
    return (packet ? random.Of(subjects.packets) : subjects.accepted[argument.sort])->As(argument.kind);
}

} // namespace

extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1:detect_leaks=0";
}

void pb___Abort(const char *context, const char *file, pbInt line, const char *expression)
{
    if (calling && std::string_view(file).starts_with("source/p") && line > 0 && *expression)
        std::longjmp(back, 1);
    Runtime<decltype(pb___Abort)>("pb___Abort")(context, file, line, expression);
    std::abort();
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    pcmModule()->startup();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    static const std::vector<Operation> operations = Table().operations;
    Random random(std::span(data, size));
    Subjects subjects;
    for (auto before = Contents(subjects); !random.Done(); before = Contents(subjects)) {
        if (std::ranges::any_of(before, [](const auto &packet) { return packet.second.size() > 1 << 18; }))
            break;
        const Operation &operation = random.Of(operations);
        auto words = subjects.Accepted(operation);
        bool small = true;
        for (std::size_t i = 0; i < words.size(); ++i) {
            const Argument &argument = operation.arguments[i];
            if (argument.kind == Argument::Array || random.OneIn(2))
                continue;
            words[i] = argument.kind == Argument::Real  ? random.Bits()
                       : argument.kind == Argument::Int ? Number(random)
                                                        : Any(random, subjects, argument);
            small &= argument.kind != Argument::Int || static_cast<pbInt>(words[i]) <= 13;
        }
        for (std::size_t i = 0; i < words.size(); ++i) // more than an array holds must be refused
            if (!small && operation.arguments[i].kind == Argument::Array)
                words[i] = 0;
        calling = true;
        const bool comes = !setjmp(back);
        if (comes)
            Call(operation, words);
        calling = false;
        if (!comes && Contents(subjects) != before) {
            std::fprintf(stderr, "A refused call has changed a packet\n");
            std::abort();
        }
    }
    return 0;
}
