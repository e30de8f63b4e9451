// What holds for every operation: what is missing or wrong is refused in the order of the checks, numbers beyond all
// bounds too, a failed allocation ends the process, and the caller's floating-point environment is left alone.
#include "operations.h"

#include <atomic>
#include <cstring>
#include <fenv.h>
#include <map>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::vector<Operation> kOperations = AllOperations();

/// Objects by the letters of the table of operations; and one of each sort that every operation accepts beside the
/// numbers 2, 3, 4 and so on. All are shared, so that a change copies them.
class Subjects {
public:
    Subjects()
    {
        const auto put = [&](char name, const auto &handle) {
            slots_[name] = held_.emplace_back(Held<PB_OBJ>::Share(pcm::Obj(handle.Get())));
        };
        const auto pkt = MakePacket(16, Samples(16 * 12, 0.5f));
        const pcm::FilterCoefficients taps(PCM_FILTER_TYPE_LOWPASS_4000_AT_16000);
        pcm::PacketQueue queue(16);
        pcm::Filter filter(taps, 16);
        auto vector = Held<PB_VECTOR>::Adopt(pbVectorCreate());
        queue.Write(pkt), queue.Write(pkt), filter.Write(pkt), filter.Write(pkt);
        pbVectorAppendObj(vector.Address(), pcm::Obj(pkt.Get()));
        put('P', pkt), put('Q', queue), put('F', filter), put('V', vector), put('c', taps), put('t', pcm::Tone(40));
        put('p', MakePacket(1, {1, 2, 3})), put('s', MakePacket(1, Samples(5))), put('d', MakePacket(2, Samples(6)));
        put('e', pcm::Packet(2)), put('w', pcm::Packet(pbInt{1} << 62)), put('v', pcm::Packet(pbInt{1} << 60));
        put('r', pcm::PacketQueue(2)), put('b', pcm::Buffer(std::as_bytes(std::span(arrays_[0], 15))));
        put('x', pcm::String("PCM_ENCODING_INT_16")), put('y', Held<PB_ENUM>::Share(pcm___FilterTypeEnum));
        put('g', Held<PB_FLAGSET>::Share(pcm___EncodingFlagset));
        slots_['n'] = {};
    }

    /// An argument as the table of operations says it.
    Word Parse(const std::string &token, const Argument &argument)
    {
        if (argument.kind == Argument::Real)
            return std::bit_cast<Word>(std::stod(token));
        if (argument.kind == Argument::Array)
            return reinterpret_cast<Word>(token == "a" ? arrays_[0] : nullptr);
        if (argument.kind == Argument::Int)
            return token[0] == '^'   ? Word{1} << std::stoi(token.substr(1))
                   : token[0] == 'm' ? Word{1} << 63
                   : token[0] == 'M' ? Word{INT64_MAX} / (token[1] ? std::stoi(token.substr(2)) : 1)
                                     : static_cast<Word>(std::stoll(token));
        if (token == "0")
            return 0;
        auto &slot = slots_.at(token[0]);
        return argument.kind == Argument::Handle ? reinterpret_cast<Word>(slot.Address())
                                                 : reinterpret_cast<Word>(slot.Get());
    }

    std::vector<Word> Accepted(const Operation &operation)
    {
        std::vector<Word> words;
        int number = 2;
        for (const Argument &argument : operation.arguments)
            if (argument.kind == Argument::Array)
                words.push_back(reinterpret_cast<Word>(arrays_[words.size() % 2]));
            else if (argument.kind == Argument::Object || argument.kind == Argument::Handle)
                words.push_back(Parse({"PQFctbxVygx"[argument.sort]}, argument));
            else
                words.push_back(Parse(std::to_string(number++), argument));
        if (operation.name == "pcmPacketWrite") // a whole packet onto one as long
            words[1] = 0;
        if (operation.name == "pcmPacketWriteChannelsSamples") // from channels 4 to 10 of so many
            words[5] = 12;
        return words;
    }

    Samples Packet(char name) { return SamplesOf(pcmPacketFrom(slots_[name].Get())); }

private:
    std::map<char, Held<PB_OBJ>> slots_;
    std::vector<Held<PB_OBJ>> held_;
    PCM_SAMPLE arrays_[2][300] = {};
};

void Call(const Operation &operation, const std::vector<Word> &words)
{
    const auto result = Held<PB_OBJ>::Adopt(reinterpret_cast<PB_OBJ *>(operation.call(words.data())));
}

/// What the calls are made with, and how a process ends that has left them as they were.
Subjects *subjects;
void (*endUntouched)(int) = nullptr;
void EndIfUntouched(int signal)
{
    if (subjects->Packet('p') != Samples{1, 2, 3} || subjects->Packet('d') != Samples(6) ||
        !subjects->Packet('e').empty())
        _exit(1);
    if (endUntouched)
        endUntouched(signal);
}

/// Calls the operation with each of its arguments of a kind replaced by a value.
template <class Check> void Replace(std::initializer_list<Argument::Kind> kinds, Word value, Check check)
{
    Subjects accepted;
    for (const Operation &operation : kOperations)
        for (std::size_t at = 0; at < operation.arguments.size(); ++at)
            if (std::ranges::count(kinds, operation.arguments[at].kind)) {
                SCOPED_TRACE(testing::Message() << operation.name << ", argument " << at);
                auto words = accepted.Accepted(operation);
                words[at] = value;
                check(operation, operation.arguments[at], words);
            }
}

} // namespace

TEST(Operations, RefuseWhatIsMissing)
{
    const auto refused = [](const std::string &star) {
        return [=](const Operation &operation, Argument argument, const auto &words) {
            const bool own = argument.sort >= 0 && argument.sort != Sorts::Place<PB_STRING>() &&
                             argument.sort != Sorts::Place<PB_BUFFER>(); // checked by the operation itself
            const std::string file = own ? operation.file : "source/p(b|cm)/[a-z_]+",
                              text = argument.sort < 0 ? ".*(dest|source|coefficients|name|text).*"
                                                       : star + kObjectNames[argument.sort];
            EXPECT_EXIT(operation.call(words.data()), testing::KilledBySignal(SIGABRT),
                        "(^|\n)" + file + ":[0-9]+: " + text + "\n");
        };
    };
    PB_OBJ *none = nullptr;
    Replace({Argument::Array, Argument::Object, Argument::Handle}, 0, refused(""));
    Replace({Argument::Handle}, reinterpret_cast<Word>(&none), refused("\\*"));
}

TEST(Operations, RefuseInTheOrderOfTheChecks)
{
    Subjects all;
    subjects = &all;
    for (const auto &operations : {kOperations, OtherOperations()})
        for (const Operation &operation : operations) {
            std::istringstream calls(operation.refusals);
            for (std::string call, token; std::getline(calls, call, ';');) {
                SCOPED_TRACE(operation.name + ' ' + call);
                std::istringstream tokens(call.substr(0, call.find(':')));
                std::vector<Word> words;
                for (const Argument &argument : operation.arguments)
                    tokens >> token, words.push_back(all.Parse(token, argument));
                std::string file = operation.file, text = call.substr(call.find(": ") + 2);
                if (const auto end = text.find(' '); text.starts_with("source/p"))
                    file = text.substr(0, end), text.erase(0, end + 1);
                EXPECT_ABORT((endUntouched = std::signal(SIGABRT, EndIfUntouched), operation.call(words.data())), file,
                             text);
            }
        }
}

TEST(Operations, TakeOrRefuseNumbersAtTheEndsOf64Bits)
{
    for (const pbInt value : {INT64_MIN, pbInt{1} << 61, INT64_MAX})
        Replace({Argument::Int}, static_cast<Word>(value), [](const Operation &operation, Argument, auto words) {
            for (std::size_t at = 0; at < words.size(); ++at) // no array is so long
                words[at] = operation.arguments[at].kind == Argument::Array ? 0 : words[at];
            EXPECT_EXIT(
                (operation.call(words.data()), _exit(0)),
                [](int status) { return WIFSIGNALED(status) ? WTERMSIG(status) == SIGABRT : WEXITSTATUS(status) == 0; },
                "^$|source/p(b|cm)/[a-z0-9_]+:[0-9]+: ");
        });
}

TEST(Operations, LeaveTheCallersFloatingPointEnvironmentAlone)
{
    const auto control = [] {
        std::array<femode_t, 1> mode{};
        feclearexcept(FE_ALL_EXCEPT); // the flags are no control, but kept beside it
        fegetmode(mode.data());
        return std::bit_cast<std::array<char, sizeof(mode)>>(mode);
    };
    const auto atFirst = control();
    fesetmode(FE_DFL_MODE);
    EXPECT_EQ(control(), atFirst); // so loading the library has left it
    for (const Operation &operation : kOperations) {
        Subjects accepted;
        fesetround(FE_UPWARD);
        const auto before = control();
        Call(operation, accepted.Accepted(operation));
        EXPECT_EQ(control(), before) << operation.name;
        fesetmode(FE_DFL_MODE);
    }
}

#ifndef PCM_SANITIZED // sanitizers have allocators of their own

namespace {

/// Allocations left until one fails, or negative for as many as are wanted.
std::atomic<int> allocationsLeft{-1};

bool Fails()
{
    return allocationsLeft >= 0 && allocationsLeft-- == 0;
}

} // namespace

extern "C" void *__libc_malloc(std::size_t size);
extern "C" void *__libc_realloc(void *block, std::size_t size);

extern "C" void *malloc(std::size_t size) noexcept
{
    return Fails() ? nullptr : __libc_malloc(size);
}

extern "C" void *realloc(void *block, std::size_t size) noexcept
{
    return Fails() ? nullptr : __libc_realloc(block, size);
}

TEST(Operations, EndTheProcessWhenAnAllocationFails)
{
    for (const Operation &operation : kOperations) {
        SCOPED_TRACE(operation.name);
        bool enough = false;
        for (int allocations = 0; !enough && allocations < 100; ++allocations) {
            const auto call = [=] {
                Subjects accepted;
                const auto words = accepted.Accepted(operation);
                allocationsLeft = allocations;
                Call(operation, words);
                _exit(allocationsLeft >= 0 ? 3 : 2);
            };
            const auto endedWell = [&](int status) {
                enough = WIFEXITED(status) && WEXITSTATUS(status) == 3;
                return enough || (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
            };
            EXPECT_EXIT(call(), endedWell, "^$|^source/pb/pb_[a-z]+:[0-9]+: memory\n(qemu: .*\n)?$");
        }
        EXPECT_TRUE(enough);
    }
}

#endif
