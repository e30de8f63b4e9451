// What every fuzz program does with an input: a failed expectation of the models is a crash, and nothing is left
// behind.
#include "../tests/support.h"

/// Drives the library with what the input chooses.
void Drive(Random &random);

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    testing::InitGoogleTest(argc, *argv);
    testing::GTEST_FLAG(throw_on_failure) = true; // which nothing catches
    pcmModule()->startup();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    const auto before = Alive();
    Random random(std::span(data, size));
    Drive(random);
    EXPECT_EQ(Alive(), before) << "objects or blocks are left";
    return 0;
}
