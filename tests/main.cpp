// Runs the tests between the module's start-up and shut-down, and finds objects and blocks that a test leaves behind.
#include "support.h"

#include <sys/resource.h>

namespace {

class FindsLeaks : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override
    {
        objects_ = pb___ObjDbgObjects();
        blocks_ = pb___MemDbgBlocks();
    }

    void OnTestEnd(const testing::TestInfo &) override
    {
        EXPECT_EQ(pb___ObjDbgObjects(), objects_) << "objects left behind";
        EXPECT_EQ(pb___MemDbgBlocks(), blocks_) << "blocks left behind";
    }

    pbInt objects_ = 0, blocks_ = 0;
};

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    const rlimit noCore = {0, 0}; // ended processes are what many tests expect
    setrlimit(RLIMIT_CORE, &noCore);
    testing::UnitTest::GetInstance()->listeners().Append(new FindsLeaks);
    int failures;
    {
        const pcm::Module module;
        failures = RUN_ALL_TESTS();
    }
    if (pb___ObjDbgObjects() || pb___MemDbgBlocks()) {
        std::fprintf(stderr, "objects or blocks left after the module's shut-down\n");
        return 1;
    }
    return failures;
}
