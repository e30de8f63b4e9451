// What holds for every operation: objects that are missing and numbers beyond all bounds are refused, a failed
// allocation ends the process, and the caller's floating-point environment is left alone.
#include "operations.h"

#include <atomic>
#include <cstring>
#include <fenv.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::vector<Operation> kOperations = AllOperations();

/// Arguments that every operation accepts: an object of each sort, held by a handle too, so that a change copies it.
/// Numbers are 2, 3, 4 and so on, which the objects are large enough for.
class Arguments {
public:
    Arguments()
    {
        const auto pkt = MakePacket(16, Samples(16 * 12, 0.5f));
        const pcm::FilterCoefficients taps(Samples{0.5f, 0.25f});
        pcm::PacketQueue queue(16);
        pcm::Filter filter(taps, 16);
        const Bytes bytes(60);
        for (int i = 0; i < 2; ++i)
            queue.Write(pkt), filter.Write(pkt);
        PB_VECTOR *vector = pbVectorCreate();
        pbVectorAppendObj(&vector, pcmPacketObj(pkt.Get()));
        const pcm::Tone tone(40);
        const pcm::String text("PCM_ENCODING_INT_16");
        const pcm::Buffer buffer(std::as_bytes(std::span(bytes)));
        void *const objects[] = {pkt.Get(),    queue.Get(), filter.Get(), taps.Get(),           tone.Get(),
                                 buffer.Get(), text.Get(),  vector,       pcm___FilterTypeEnum, pcm___EncodingFlagset,
                                 pkt.Get()};
        for (int sort = 0; sort < kSorts; ++sort)
            for (PB_OBJ **each : {&objects_[sort], &handles_[sort]})
                pbObjRetain(*each = static_cast<PB_OBJ *>(objects[sort]));
        pbObjRelease(objects_[Sorts::Place<PB_VECTOR>()]);
    }
    ~Arguments()
    {
        for (int sort = 0; sort < kSorts; ++sort)
            pbObjRelease(objects_[sort]), pbObjRelease(handles_[sort]);
    }

    std::vector<Word> Of(const Operation &operation)
    {
        std::vector<Word> words;
        Word number = 2;
        for (const Argument &argument : operation.arguments)
            switch (argument.kind) {
            case Argument::Int: words.push_back(number++); break;
            case Argument::Real: words.push_back(std::bit_cast<Word>(1.5)); break;
            case Argument::Array: words.push_back(reinterpret_cast<Word>(arrays_[words.size() % 2])); break;
            case Argument::Object: words.push_back(reinterpret_cast<Word>(objects_[argument.sort])); break;
            default: words.push_back(reinterpret_cast<Word>(&handles_[argument.sort]));
            }
        if (operation.name == "pcmPacketWrite") // a whole packet onto one as long
            words[1] = 0;
        if (operation.name == "pcmPacketWriteChannelsSamples") // from channels 4 to 10 of so many
            words[5] = 12;
        return words;
    }

    static void Call(const Operation &operation, const std::vector<Word> &words)
    {
        if (const Word result = operation.call(words.data()))
            pbObjRelease(reinterpret_cast<PB_OBJ *>(result));
    }

private:
    PB_OBJ *objects_[kSorts], *handles_[kSorts];
    PCM_SAMPLE arrays_[2][300] = {};
};

/// Calls the operation with each of its arguments of a kind replaced by a value.
template <class Check> void Replace(std::initializer_list<Argument::Kind> kinds, Word value, Check check)
{
    Arguments arguments;
    for (const Operation &operation : kOperations)
        for (std::size_t at = 0; at < operation.arguments.size(); ++at)
            if (std::ranges::count(kinds, operation.arguments[at].kind)) {
                SCOPED_TRACE(testing::Message() << operation.name << ", argument " << at);
                auto words = arguments.Of(operation);
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
    femode_t atFirst{}, usual{}, mine{}, after{};
    feclearexcept(FE_ALL_EXCEPT); // the flags are no control, but kept beside it
    ASSERT_EQ(fegetmode(&atFirst), 0);
    fesetmode(FE_DFL_MODE);
    fegetmode(&usual);
    EXPECT_EQ(std::memcmp(&atFirst, &usual, sizeof(usual)), 0); // so loading the library has left it
    for (const Operation &operation : kOperations) {
        Arguments arguments;
        fesetround(FE_UPWARD);
        feclearexcept(FE_ALL_EXCEPT);
        fegetmode(&mine);
        arguments.Call(operation, arguments.Of(operation));
        feclearexcept(FE_ALL_EXCEPT);
        fegetmode(&after);
        fesetmode(&atFirst);
        EXPECT_EQ(std::memcmp(&mine, &after, sizeof(mine)), 0) << operation.name;
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
                Arguments arguments;
                const auto words = arguments.Of(operation);
                allocationsLeft = allocations;
                arguments.Call(operation, words);
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
