// Runs the tests between the module's start-up and shut-down, and finds objects and blocks that a test leaves behind.
#include "operations.h"

#include <csignal>
#include <dlfcn.h>
#include <sys/resource.h>

// The runtime reports failed allocations, also under the sanitizer. A small quarantine makes forks fast.
extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1:quarantine_size_mb=8";
}

namespace {

/// In a coverage build the libraries write down what they reached before a check ends the process.
void WriteCoverage(int)
{
    for (const char *name : {"pb___CoverageDump", "pcm___CoverageDump"})
        if (void *dump = dlsym(RTLD_DEFAULT, name))
            reinterpret_cast<void (*)()>(dump)();
}

/// Prints the table of operations: a line for each operation, and one for each call that it refuses, with its
/// arguments, its file and its text between tabs.
int PrintOperations()
{
    const Table table;
    for (const Operation &operation : table.operations)
        std::printf("%s\n", operation.name.c_str());
    for (const Refusal &refusal : table.refusals)
        std::printf("%s\t%s\t%s\t%s\n", refusal.operation.c_str(), refusal.arguments.c_str(), refusal.file,
                    refusal.text);
    return 0;
}

class FindsLeaks : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override { before_ = Alive(); }
    void OnTestEnd(const testing::TestInfo &) override { EXPECT_EQ(Alive(), before_) << "objects or blocks are left"; }

    std::pair<pbInt, pbInt> before_;
};

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const rlimit noCore = {0, 0}; // many tests expect that a process ends
    setrlimit(RLIMIT_CORE, &noCore);
    std::signal(SIGABRT, WriteCoverage); // abort() ends the process when it returns
    testing::UnitTest::GetInstance()->listeners().Append(new FindsLeaks);
    std::optional<pcm::Module> module(std::in_place);
    const int failures = argc == 2 && argv[1] == std::string("--operations") ? PrintOperations() : RUN_ALL_TESTS();
    module.reset();
    if (Alive() == std::pair<pbInt, pbInt>())
        return failures;
    std::fprintf(stderr, "objects or blocks left after the module's shut-down\n");
    return 1;
}
