// The module as its host sees it.
#include "support.h"

#include <cstring>
#include <ctime>

static const char *pretendThisIsDefined = nullptr;

// This program defines functions of the runtime itself, which the library then calls instead.
pbBool pbFlagsetHasFlagCstr(PB_FLAGSET *flags, const char *name, pbInt length)
{
    return (pretendThisIsDefined && std::strcmp(name, pretendThisIsDefined) == 0) ||
           Runtime<decltype(pbFlagsetHasFlagCstr)>("pbFlagsetHasFlagCstr")(flags, name, length);
}

TEST(Module, DescriptorsAreWordForWord)
{
    const auto word = [](auto *pointer) { return reinterpret_cast<uint64_t>(pointer); };
    // clang-format off
    const std::array<uint64_t, 19> module = {2, 0, ~0ull, 1, 0, 0, 0, 0, 0, 0, word(&pcm___module_record),
                                             word(&pcm___ModuleStartup), 0, word(&pcm___ModuleShutdown)};
    const std::array<uint64_t, 20> sort = {1, 0, ~0ull, 1, 0, 0, 0, 0, 0, 0, word(pcmModule()),
                                           word(pcmPacketSort()->name), word(&pcm___PacketFreeFunc)};
    // clang-format on
    EXPECT_EQ(std::bit_cast<decltype(module)>(pcm___module), module);
    EXPECT_EQ(std::bit_cast<decltype(sort)>(*pcmPacketSort()), sort);
    EXPECT_STREQ(pcmPacketSort()->name, "PCM_PACKET");
}

TEST(Module, RecordSaysWhoWeAre)
{
    const PB_MODULE_RECORD &record = *pcmModule()->record;
    static_assert(sizeof(record) == 14 * 8);
    std::string text;
    for (const std::string part : {record.product, record.productName, record.vendor, record.rights, record.name,
                                   record.description, record.moduleVersion, record.dependencies, record.remark})
        text += part + ", ";
    for (const pbInt number : {record.kind, record.versionMajor, record.versionMinor, record.versionPatch})
        text += std::to_string(number) + '.';
    EXPECT_EQ(text, "zavrine, zavrine, MORVATH GmbH, Copyright MORVATH GmbH. All rights reserved., pcm, "
                    "Pulse Code Modulated Audio Data, 0.0, pb, , 2." PCM_TEST_VERSION ".");
    constexpr char kFormat[] = "UTC %Y-%m-%d %H:%M:%S (%A)";
    std::tm time = {};
    char again[64] = "";
    strptime(record.buildTime, kFormat, &time);
    timegm(&time); // which finds the weekday
    std::strftime(again, sizeof again, kFormat, &time);
    EXPECT_STREQ(record.buildTime, again);
}

TEST(Module, RunsTheInstructionSetThatTheBuildIsHeldDownTo)
{
    const std::string isa = pcm___ModuleIsa(), wanted = std::getenv("PCM_TEST_ISA") ? std::getenv("PCM_TEST_ISA") : isa;
#ifdef __x86_64__
    if (wanted == "avx2" && !__builtin_cpu_supports("avx2"))
        GTEST_SKIP() << "this processor has less";
#endif
    EXPECT_EQ(isa, wanted);
    EXPECT_TRUE(isa == "base" || isa == "neon" || isa == "avx2" || isa == "avx512") << isa;
}

TEST(Module, StartUpRefusesANameThatIsTaken)
{
    for (int bit = 0; bit < 19; ++bit) {
        const std::string name = pcm::Encoding(PCM_ENCODING(1) << bit).ToString();
        pretendThisIsDefined = name.c_str();
        EXPECT_ABORT(pcm___EncodingStartup(), "source/pcm/pcm_encoding",
                        "!pbFlagsetHasFlagCstr( *(&pcm___EncodingFlagset), \"" + name + "\", -1 )");
        pretendThisIsDefined = nullptr;
    }
}
