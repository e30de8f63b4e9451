// What holds for every operation: what is missing or wrong is refused in the order of the checks, numbers beyond all
// bounds too, a failed allocation ends the process, and the caller's floating-point environment is left alone.
#include "operations.h"

#include <atomic>
#include <cstring>
#include <fenv.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const std::vector<Operation> &Operations()
{
    static const std::vector<Operation> operations = Table().operations;
    return operations;
}

/// What the calls are made with, and how a process ends that has left them as they were.
Subjects *subjects;
void (*endUntouched)(int) = nullptr;
void EndIfUntouched(int signal)
{
    if (SamplesOf(subjects->mono3) != Samples{1, 2, 3} || SamplesOf(subjects->stereo3) != Samples(6) ||
        SamplesOf(subjects->stereo0) != Samples())
        _exit(1);
    if (endUntouched)
        endUntouched(signal);
}

/// Calls the operation with each of its arguments of a kind replaced by a value.
template <class Check> void Replace(std::initializer_list<Argument::Kind> kinds, Word value, Check check)
{
    Subjects accepted;
    for (const Operation &operation : Operations())
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
    Table table;
    subjects = &table;
    for (const Refusal &refusal : table.refusals) {
        SCOPED_TRACE(refusal.operation + refusal.arguments);
        const auto call = [&] {
            endUntouched = std::signal(SIGABRT, EndIfUntouched);
            refusal.call();
        };
        EXPECT_ABORT(call(), refusal.file, refusal.text);
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
        volatile float denormal = 0x1p-140f;
        denormal = denormal + 1; // sets x86's flag of denormal operands, which that does not clear
        fegetmode(mode.data());
        return std::bit_cast<std::array<char, sizeof(mode)>>(mode);
    };
    const auto atFirst = control();
    fesetmode(FE_DFL_MODE);
    EXPECT_EQ(control(), atFirst); // so loading the library has left it
    for (const Operation &operation : Operations()) {
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
    for (const Operation &operation : Operations()) {
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
