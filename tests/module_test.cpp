// The module as its host sees it.
#include "support.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>

namespace {

const char *pretendThisIsDefined = nullptr;

} // namespace

// The library's calls to the runtime can be taken by another: here, by this program, before the runtime's own.
pbBool pbFlagsetHasFlagCstr(PB_FLAGSET *flags, const char *name, pbInt length)
{
    if (pretendThisIsDefined && std::strcmp(name, pretendThisIsDefined) == 0)
        return 1;
    return reinterpret_cast<decltype(&pbFlagsetHasFlagCstr)>(dlsym(RTLD_NEXT, "pbFlagsetHasFlagCstr"))(flags, name,
                                                                                                       length);
}

namespace {

/// A static object as the words that it is made of.
template <class T> std::vector<uint64_t> Words(const T &object)
{
    std::vector<uint64_t> words(sizeof(T) / 8);
    std::memcpy(words.data(), &object, sizeof(T));
    return words;
}

template <class T> uint64_t Word(T *pointer)
{
    return reinterpret_cast<uint64_t>(pointer);
}

TEST(Module, DescriptorsAreWordForWord)
{
    constexpr uint64_t kOnes = ~uint64_t{0};
    EXPECT_EQ(pcmModule(), &pcm___module);
    EXPECT_EQ(Words(*pcmModule()),
              (std::vector<uint64_t>{2, 0, kOnes, 1, 0, 0, 0, 0, 0, 0, Word(&pcm___module_record),
                                     Word(&pcm___ModuleStartup), 0, Word(&pcm___ModuleShutdown), 0, 0, 0, 0, 0}));
    const PB_SORT &sort = *pcmPacketSort();
    EXPECT_EQ(Words(sort),
              (std::vector<uint64_t>{
                  1, 0, kOnes, 1, 0, 0, 0, 0, 0, 0, Word(&pcm___module), Word(sort.name), Word(&pcm___PacketFreeFunc),
                  0, 0, 0,     0, 0, 0, 0}));
    EXPECT_STREQ(sort.name, "PCM_PACKET");
}

TEST(Module, RecordSaysWhoWeAre)
{
    const PB_MODULE_RECORD &record = *pcmModule()->record;
    static_assert(sizeof(record) == 14 * 8);
    EXPECT_EQ(record.kind, 2);
    const std::pair<const char *, const char *> texts[] = {{record.product, "zavrine"},
                                                           {record.productName, "zavrine"},
                                                           {record.vendor, "MORVATH GmbH"},
                                                           {record.name, "pcm"},
                                                           {record.description, "Pulse Code Modulated Audio Data"},
                                                           {record.moduleVersion, "0.0"},
                                                           {record.dependencies, "pb"},
                                                           {record.remark, ""}};
    for (const auto &[text, expected] : texts)
        EXPECT_STREQ(text, expected);
    const std::string version = std::to_string(record.versionMajor) + "." + std::to_string(record.versionMinor) + "." +
                                std::to_string(record.versionPatch);
    EXPECT_EQ(version, PCM_TEST_VERSION);
    EXPECT_NE(std::string(record.rights).find("MORVATH GmbH"), std::string::npos);
    EXPECT_EQ(std::string(record.rights).find('\n'), std::string::npos);

    std::tm time = {};
    const char *const rest = strptime(record.buildTime, "UTC %Y-%m-%d %H:%M:%S", &time);
    ASSERT_NE(rest, nullptr) << record.buildTime;
    timegm(&time); // finds the weekday
    char weekday[32];
    std::strftime(weekday, sizeof(weekday), " (%A)", &time);
    EXPECT_STREQ(rest, weekday);
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

TEST(Module, StopsAndStartsAgain)
{
    pcmModule()->shutdown();
    EXPECT_EQ(Word(pcm___EncodingFlagset), ~uint64_t{0});
    EXPECT_EQ(pb___ObjDbgObjects(), 0);
    EXPECT_EQ(pb___MemDbgBlocks(), 0);
    EXPECT_EQ(pcmModule()->startup(), 1);
    EXPECT_EQ(pcm::Encoding::FromString("PCM_ENCODING_INT_16"), PCM_ENCODING_INT_16);
}

TEST(Module, StartUpRefusesANameThatIsTaken)
{
    for (int bit = 0; bit < 19; ++bit) {
        const std::string name = pcm::Encoding(PCM_ENCODING(1) << bit).ToString();
        pretendThisIsDefined = name.c_str();
        EXPECT_ABORT_AT(pcm___EncodingStartup(), "source/pcm/pcm_encoding",
                        "!pbFlagsetHasFlagCstr( *(&pcm___EncodingFlagset), \"" + name + "\", -1 )");
        pretendThisIsDefined = nullptr;
    }
}

} // namespace
