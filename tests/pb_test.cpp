// The runtime stand-in: what the library above it relies on, and what the headers decide beyond that.
#include "support.h"

#include <cmath>
#include <limits>
#include <set>

namespace {

constexpr pbInt kLeast = std::numeric_limits<pbInt>::min(), kMost = std::numeric_limits<pbInt>::max();

/// Whether the suite is meant to run over the runtime that takes every liberty. These tests find out whether it does.
const bool kLiberal = std::getenv("PCM_TEST_LIBERAL");

TEST(PbInt, PredicatesAgreeWithWiderArithmetic)
{
    std::vector<pbInt> values;
    for (const pbInt base : {pbInt{0}, kLeast, kMost, pbInt{1} << 31, pbInt{3037000499}, pbInt{-3037000500}})
        for (pbInt near = -2; near <= 2; ++near)
            if (pb___IntAddOk(base, near))
                values.push_back(base + near);
    const auto fits = [](__int128 value) { return value >= kLeast && value <= kMost; };
    for (const pbInt a : values)
        for (const pbInt b : values) {
            SCOPED_TRACE(std::to_string(a) + " and " + std::to_string(b));
            EXPECT_EQ(bool(PB_INT_ADD_OK(a, b)), fits(__int128(a) + b));
            EXPECT_EQ(bool(PB_INT_SUB_OK(a, b)), fits(__int128(a) - b));
            EXPECT_EQ(bool(PB_INT_MUL_OK(a, b)), fits(__int128(a) * b));
        }
    EXPECT_EQ(pbIntBitCount(-1), 64);
    EXPECT_EQ(pbIntMin(-1, 1), -1);
    EXPECT_EQ(pbIntMax(-1, 1), 1);
}

TEST(PbReal, KnowsItsEdges)
{
    const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
    const struct {
        double value;
        pbInt integer;
    } rows[] = {
        {18.18, 18},     {0.5, 1},          {-2.5, -3}, {0.49999999999999994, 0}, {1e300, kMost}, {-infinity, kLeast},
        {0x1p63, kMost}, {-0x1p63, kLeast}, {nan, 0}};
    for (const auto &row : rows)
        EXPECT_EQ(pbRealToInt(row.value), row.integer) << row.value;
    for (const double value : {infinity, -infinity, nan})
        EXPECT_FALSE(pbRealIsFinite(value));
    EXPECT_TRUE(pbRealIsNan(nan) && !pbRealIsNan(infinity));
    EXPECT_LT(pbRealCompare(-1.0, 1.0), 0);
    EXPECT_TRUE(pbRealEquals(0.0, -0.0) && !pbRealEquals(nan, nan));
}

TEST(PbMem, AcceptsNothing)
{
    pbMemFree(nullptr);
    pbMemCopyN(nullptr, nullptr, 0, 4);
    pbMemMoveN(nullptr, nullptr, 0, 4);
    pbMemSetN(nullptr, 0, 0, 4);
    void *const nothing = pbMemAlloc(0);
    EXPECT_EQ(nothing != nullptr, kLiberal);
    pbMemFree(nothing);
    auto *block = static_cast<char *>(pbMemReallocN(nullptr, 3, 1));
    pbMemCopy(block, "abc", 3);
    block = static_cast<char *>(pbMemReallocN(block, 1000, 1));
    EXPECT_EQ(std::string(block, 3), "abc");
    pbMemFree(pbMemReallocN(block, 0, 1));
    for (const auto move : {pbMemCopyN, pbMemMoveN}) {
        char byte = 0;
        EXPECT_ABORT(move(nullptr, &byte, 1, 1), "dest");
        EXPECT_ABORT(move(&byte, nullptr, 1, 1), "source");
    }
    EXPECT_ABORT(pbMemSetN(nullptr, 0, 1, 1), "dest");
    EXPECT_ABORT(pbMemAllocN(kMost / 2, 4), "PB_INT_MUL_OK( count, size )");
    EXPECT_ABORT(pbMemAlloc(-1), "count >= 0");
    EXPECT_ABORT(pbMemAlloc(kMost), "memory"); // more than there is
}

TEST(PbVector, IsAQueueThatItsOtherHoldersDoNotSeeChange)
{
    PB_VECTOR *vec = pbVectorCreate();
    const pcm::Packet a(1), b(2);
    pbVectorAppendObj(&vec, pcmPacketObj(a.Get()));
    pbVectorAppendObj(&vec, pcmPacketObj(b.Get()));
    PB_VECTOR *other = vec;
    pbObjRetain(reinterpret_cast<PB_OBJ *>(other));
    EXPECT_EQ(pcm::Packet::Adopt(pcmPacketFrom(pbVectorUnshift(&vec))).Get(), a.Get());
    EXPECT_EQ(pbVectorLength(vec), 1);
    EXPECT_EQ(pbVectorLength(other), 2);
    pbVectorClear(&other);
    EXPECT_EQ(pbVectorLength(other), 0);
    EXPECT_EQ(RefCount(a.Get()), 1);
    EXPECT_EQ(RefCount(b.Get()), 2);
    pbVectorClear(&vec);
    EXPECT_ABORT(pbVectorUnshift(&vec), "(*vec)->length > 0");

    std::vector<pbInt> model; // channel counts tell the packets apart
    Random random;
    for (pbInt step = 1, next = 0; step < 3000; ++step) {
        if (random.From(0, 2999) > step / 2 || model.empty()) {
            model.push_back(step);
            pbVectorAppendObj(&vec, pcmPacketObj(pcm::Packet(step).Get()));
        } else {
            const auto first = pcm::Packet::Adopt(pcmPacketFrom(pbVectorUnshift(&vec)));
            ASSERT_EQ(first.Channels(), model[static_cast<std::size_t>(next++)]);
        }
        ASSERT_EQ(pbVectorLength(vec), static_cast<pbInt>(model.size()) - next);
        if (next == static_cast<pbInt>(model.size()))
            model.clear(), next = 0;
    }
    pbObjRelease(reinterpret_cast<PB_OBJ *>(vec));
    pbObjRelease(reinterpret_cast<PB_OBJ *>(other));
}

TEST(PbEnum, NamesAreExactAndTheLastValueCounts)
{
    PB_ENUM *enm = pbEnumCreate();
    pbEnumSetEnumerantCstr(&enm, "TWO", -1, 2);
    pbEnumSetEnumerantCstr(&enm, "ONEONE", 3, 1);
    pbEnumSetEnumerantCstr(&enm, "TWO", -1, 3);
    EXPECT_EQ(pbEnumParse(enm, pcm::String("ONE").Get()), 1);
    EXPECT_EQ(pbEnumParse(enm, pcm::String("TWO").Get()), 3);
    EXPECT_EQ(pbEnumParse(enm, pcm::String("one").Get()), -1);
    const auto two = pcm::String::Adopt(pbEnumGenerate(enm, 3)), again = pcm::String::Adopt(pbEnumGenerate(enm, 3));
    EXPECT_EQ(two.View(), "TWO");
    EXPECT_EQ(two.Get() != again.Get(), kLiberal);
    EXPECT_ABORT(pbEnumGenerate(enm, 2), "known != enm->end()");
    PB_ENUM *other = enm;
    pbObjRetain(reinterpret_cast<PB_OBJ *>(other));
    pbEnumSetEnumerantCstr(&other, "ONE", -1, 5);
    EXPECT_EQ(pbEnumParse(enm, pcm::String("ONE").Get()), 1);
    EXPECT_EQ(pbEnumParse(other, pcm::String("ONE").Get()), 5);
    pbObjRelease(reinterpret_cast<PB_OBJ *>(other));
    pbObjRelease(reinterpret_cast<PB_OBJ *>(enm));
}

TEST(PbFlagset, WritesAndReadsNames)
{
    PB_FLAGSET *flags = pbFlagsetCreate();
    pbFlagsetSetFlagCstr(&flags, "HIGH", -1, 4);
    pbFlagsetSetFlagCstr(&flags, "LOW", -1, 1);
    PB_FLAGSET *other = flags;
    pbObjRetain(reinterpret_cast<PB_OBJ *>(other));
    pbFlagsetSetFlagCstr(&flags, "MIDDLE", -1, 2);
    EXPECT_FALSE(pbFlagsetHasFlagCstr(other, "MIDDLE", -1));
    EXPECT_TRUE(pbFlagsetHasFlagCstr(flags, "MIDDLE.", 6));
    const auto text = [&](pbInt value) {
        return std::string(pcm::String::Adopt(pbFlagsetGenerate(flags, value)).View());
    };
    EXPECT_EQ(text(7), "LOW|MIDDLE|HIGH");
    EXPECT_EQ(text(8 | 4), "HIGH");
    EXPECT_EQ(text(0), "");
    const struct {
        const char *text;
        pbInt value;
    } rows[] = {{"", 0}, {" HIGH |LOW", 5}, {"HIGH||UNKNOWN|low", 4}, {"LOW|LOW", 1}, {"LOW MIDDLE", 0}};
    for (const auto &row : rows)
        EXPECT_EQ(pbFlagsetParse(flags, pcm::String(row.text).Get()), row.value) << row.text;
    pbObjRelease(reinterpret_cast<PB_OBJ *>(flags));
    pbObjRelease(reinterpret_cast<PB_OBJ *>(other));
}

TEST(PbObj, StringsAreOrderedByTextAndOthersByAddress)
{
    const auto compare = [](const char *a, const char *b) {
        return pbObjCompare(reinterpret_cast<PB_OBJ *>(pcm::String(a).Get()),
                            reinterpret_cast<PB_OBJ *>(pcm::String(b).Get()));
    };
    EXPECT_LT(compare("ab", "b"), 0);
    EXPECT_GT(compare("ab", "a"), 0);
    EXPECT_EQ(compare("", ""), 0);
    const pcm::String text("its own text");
    EXPECT_EQ(pcm::String::Adopt(pbObjToString(reinterpret_cast<PB_OBJ *>(text.Get()))).View(), "its own text");
    const pcm::Packet a(1), b(1);
    EXPECT_EQ(pcmPacketCompare(a.Get(), a.Get()), 0);
    EXPECT_EQ(pcmPacketCompare(a.Get(), b.Get()) < 0, a.Get() < b.Get());
    EXPECT_TRUE(pcmPacketEquals(nullptr, nullptr) && !pcmPacketEquals(a.Get(), nullptr));
    char address[64];
    std::snprintf(address, sizeof(address), "PCM_PACKET %p", static_cast<void *>(a.Get()));
    EXPECT_EQ(pcm::String::Adopt(pcmPacketToString(a.Get())).View(), address);
}

TEST(PbRandom, SpreadsOverItsRange)
{
    std::set<pbInt> seen;
    for (int i = 0; i < 2000; ++i) {
        const pbInt value = pbRandomNonNegativeIntRange(5, 13);
        ASSERT_TRUE(value >= 5 && value <= 13);
        seen.insert(value);
    }
    EXPECT_EQ(seen.size(), kLiberal ? 9u : 8u);
    pbInt allOnes = -1, anyOne = 0;
    for (int i = 0; i < 200; ++i) {
        const pbInt value = pbRandomInt();
        allOnes &= value;
        anyOne |= value;
    }
    EXPECT_EQ(allOnes, 0); // every bit takes both values
    EXPECT_EQ(anyOne, -1);
    EXPECT_ABORT(pbRandomNonNegativeIntRange(3, 3), "low < high");
}

TEST(Pb, RefusesWhatIsMissing)
{
    PB_VECTOR *vec = nullptr;
    PB_ENUM *enm = nullptr;
    PB_FLAGSET *flags = nullptr;
    char byte = 0;
    const struct {
        const char *expression;
        std::function<void()> call;
    } rows[] = {
        {"length >= 0", [&] { pbBufferCreateFromBytesUse(&byte, -1); }},
        {"bytes || length == 0", [] { pbBufferCreateFromBytesUse(nullptr, 1); }},
        {"buf", [] { pbBufferBacking(nullptr); }},
        {"buf", [] { pbBufferLength(nullptr); }},
        {"enm", [] { pbEnumSetEnumerantCstr(nullptr, "", -1, 0); }},
        {"*enm", [&] { pbEnumSetEnumerantCstr(&enm, "", -1, 0); }},
        {"enm", [] { pbEnumParse(nullptr, nullptr); }},
        {"enm", [] { pbEnumGenerate(nullptr, 0); }},
        {"flags", [] { pbFlagsetHasFlagCstr(nullptr, "", -1); }},
        {"name", [] { pbFlagsetHasFlagCstr(pcm___EncodingFlagset, nullptr, -1); }},
        {"flags", [] { pbFlagsetSetFlagCstr(nullptr, "", -1, 0); }},
        {"*flags", [&] { pbFlagsetSetFlagCstr(&flags, "", -1, 0); }},
        {"name", [] { pbFlagsetSetFlagCstr(&pcm___EncodingFlagset, nullptr, -1, 0); }},
        {"flags", [] { pbFlagsetParse(nullptr, nullptr); }},
        {"pbs", [] { pbFlagsetParse(pcm___EncodingFlagset, nullptr); }},
        {"flags", [] { pbFlagsetGenerate(nullptr, 0); }},
        {"size >= 0", [] { pbMemAllocN(1, -1); }},
        {"size >= PB_SIZEOF(PB_OBJ)", [] { pb___ObjCreate(8, pcmPacketSort()); }},
        {"sort", [] { pb___ObjCreate(sizeof(PB_OBJ), nullptr); }},
        {"memory", [] { pb___ObjCreate(kMost, pcmPacketSort()); }},
        {"obj", [] { pb___ObjFree(nullptr); }},
        {"obj", [] { pb___ObjDbgSetAllocationSize(nullptr, 0); }},
        {"bytes >= 0", [] { pb___ObjDbgSetAllocationSize(pcmPacketObj(pcmPacketCreate(1)), -1); }},
        {"PB_INT_MUL_OK( count, size )", [] { pb___ObjDbgSetAllocationSizeN(nullptr, kMost, 2); }},
        {"obj", [] { pbObjSort(nullptr); }},
        {"obj", [] { pbObjToString(nullptr); }},
        {"obj", [] { pbObjRetain(nullptr); }},
        {"obj", [] { pbObjRelease(nullptr); }},
        {"obj", [] { pb___ObjDbgAllocationSize(nullptr); }},
        {"low >= 0", [] { pbRandomNonNegativeIntRange(-1, 1); }},
        {"text || length == 0", [] { pbStringCreateFromCstr(nullptr, 1); }},
        {"length >= -1", [] { pbStringCreateFromCstr("", -2); }},
        {"PB_INT_ADD_OK( length, 1 )", [] { pbStringCreateFromCstr("", kMost); }},
        {"pbs", [] { pbStringCstr(nullptr); }},
        {"pbs", [] { pbStringLength(nullptr); }},
        {"vec", [] { pbVectorLength(nullptr); }},
        {"vec", [] { pbVectorAppendObj(nullptr, nullptr); }},
        {"*vec", [&] { pbVectorAppendObj(&vec, nullptr); }},
        {"vec", [] { pbVectorUnshift(nullptr); }},
        {"*vec", [&] { pbVectorUnshift(&vec); }},
        {"vec", [] { pbVectorClear(nullptr); }},
        {"*vec", [&] { pbVectorClear(&vec); }},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expression);
        EXPECT_ABORT(row.call(), row.expression);
    }
}

} // namespace
