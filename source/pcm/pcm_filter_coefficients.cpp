// Coefficient sets: the seven that are built in, and those of callers.
#include "pcm_object.h"

#include <pcm/pcm_filter_coefficients.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

/// Neither the taps nor their number change after construction.
struct PCM_FILTER_COEFFICIENTS {
    PB_OBJ obj;
    PCM_SAMPLE *backing; ///< owned
    pbInt length;        ///< at least 1
};

static constinit PB_SORT pcm___sort_PCM_FILTER_COEFFICIENTS =
    pcm::Sort("PCM_FILTER_COEFFICIENTS", pcm___FilterCoefficientsFreeFunc);

PCM_DEFINE_SORT(pcmFilterCoefficients, PCM_FILTER_COEFFICIENTS)

void pcm___FilterCoefficientsFreeFunc(PB_OBJ *obj)
{
    PCM_FILTER_COEFFICIENTS *coeff = pcmFilterCoefficientsFrom(obj);
    PB_ASSERT(coeff);

    pbMemFree(coeff->backing);
    pb___ObjDbgSetAllocationSize(obj, 0);
}

// The built-in taps. Every set is symmetric: a first half, of which the compiler makes the second.

namespace {

// clang-format off
constexpr PCM_SAMPLE kHalf4000At16000[8] = {
    -0.00692039f, -0.02939334f, 0.0156112f, 0.05077554f,
    -0.0383586f, -0.09874936f, 0.12675393f, 0.46728578f,
};
constexpr PCM_SAMPLE kHalf4000At24000[12] = {
    -7.43e-06f, -0.01157224f, -0.014025f, 0.00113505f,
    0.02371669f, 0.02695675f, -0.00677197f, -0.05515933f,
    -0.05668846f, 0.03877607f, 0.20576246f, 0.339318f,
};
constexpr PCM_SAMPLE kHalf4000At48000[24] = {
    0.00093995f, -0.00126115f, -0.00364955f, -0.00551805f,
    -0.00612509f, -0.00491882f, -0.0017668f, 0.00287701f,
    0.00793933f, 0.01187851f, 0.01303053f, 0.01010423f,
    0.00272245f, -0.00814065f, -0.01998999f, -0.02904297f,
    -0.03092136f, -0.02173573f, 0.00064716f, 0.0354914f,
    0.07863814f, 0.12287326f, 0.1593807f, 0.18006885f,
};
constexpr PCM_SAMPLE kHalf6000At24000[12] = {
    -0.00166381f, -0.01081769f, 0.00331986f, 0.01768523f,
    -0.00693677f, -0.02940972f, 0.01559481f, 0.05075915f,
    -0.03837499f, -0.09876574f, 0.12673753f, 0.46726942f,
};
constexpr PCM_SAMPLE kHalf6000At48000[24] = {
    0.00020451f, -0.00134397f, -0.00251919f, -0.00234377f,
    -0.00042367f, 0.00254427f, 0.00483893f, 0.00453695f,
    0.00081266f, -0.00501387f, -0.00953355f, -0.00883966f,
    -0.00117772f, 0.01078422f, 0.01987852f, 0.01763846f,
    4.262e-05f, -0.02707405f, -0.04694626f, -0.03797615f,
    0.01395688f, 0.10299704f, 0.19978382f, 0.26317838f,
};
constexpr PCM_SAMPLE kHalf8000At48000[24] = {
    6.62e-06f, -0.00102161f, -0.00125558f, -2.844e-05f,
    0.00181886f, 0.00226605f, 7.44e-05f, -0.0032757f,
    -0.00410891f, -0.00010847f, 0.00604963f, 0.00753968f,
    -2.261e-05f, -0.01158741f, -0.01404018f, 0.00111987f,
    0.02370152f, 0.02694158f, -0.00678714f, -0.0551745f,
    -0.05670363f, 0.0387609f, 0.20574728f, 0.33930284f,
};
constexpr PCM_SAMPLE kHalf12000At48000[24] = {
    -5.807e-05f, -0.00070003f, 9.739e-05f, 0.00108956f,
    -0.00016205f, -0.00169985f, 0.00027915f, 0.00267005f,
    -0.00048887f, -0.00421832f, 0.00088776f, 0.00672354f,
    -0.00167224f, -0.01082612f, 0.00331143f, 0.0176768f,
    -0.00694521f, -0.02941815f, 0.01558637f, 0.05075073f,
    -0.03838342f, -0.09877416f, 0.12672912f, 0.46726102f,
};
// clang-format on

/// The gain at 0 Hz.
template <std::size_t N> constexpr double Sum(const PCM_SAMPLE (&taps)[N])
{
    double sum = 0.0;
    for (const PCM_SAMPLE tap : taps)
        sum += static_cast<double>(tap);
    return sum;
}

/// Whether a set's gain at 0 Hz is the one given, in billionths.
template <std::size_t N> constexpr bool SumsTo(const PCM_SAMPLE (&taps)[N], double billionths)
{
    const double off = 1e9 * Sum(taps) - billionths;
    return off > -0.501 && off < 0.501;
}

} // namespace

// A C array cannot be made by a function, so the mirrored order is spelled out, four taps at a time.
#define PCM_UP(half, i) half[i], half[i + 1], half[i + 2], half[i + 3]
#define PCM_DOWN(half, i) half[i + 3], half[i + 2], half[i + 1], half[i]
#define PCM_AROUND(half, i, ...) PCM_UP(half, i), __VA_ARGS__, PCM_DOWN(half, i)
#define PCM_MIDDLE(half, i) PCM_UP(half, i), PCM_UP(half, i + 4), PCM_DOWN(half, i + 4), PCM_DOWN(half, i)
#define PCM_WHOLE_16(half) PCM_MIDDLE(half, 0)
#define PCM_WHOLE_24(half) PCM_AROUND(half, 0, PCM_MIDDLE(half, 4))
#define PCM_WHOLE_48(half)                                                                                             \
    PCM_AROUND(half, 0, PCM_AROUND(half, 4, PCM_AROUND(half, 8, PCM_AROUND(half, 12, PCM_MIDDLE(half, 16)))))

// The sets in the order of their types: name, taps, and the gain at 0 Hz in billionths, which shows that no tap is
// wrong.
#define PCM_FOR_EACH_SET(DO)                                                                                           \
    DO(4000At16000, 16, 974009514)                                                                                     \
    DO(4000At24000, 24, 982881193)                                                                                     \
    DO(4000At48000, 48, 987042724)                                                                                     \
    DO(6000At24000, 24, 990794581)                                                                                     \
    DO(6000At48000, 48, 996010793)                                                                                     \
    DO(8000At48000, 48, 998430093)                                                                                     \
    DO(12000At48000, 48, 999432846)

#define PCM_DEFINE_SET(NAME, TAPS, SUM)                                                                                \
    constexpr PCM_SAMPLE pcm___FilterCoefficientsBuiltinLowpass##NAME[TAPS] = {PCM_WHOLE_##TAPS(kHalf##NAME)};         \
    static_assert(SumsTo(pcm___FilterCoefficientsBuiltinLowpass##NAME, SUM));                                          \
    PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass##NAME = nullptr;

PCM_FOR_EACH_SET(PCM_DEFINE_SET)

namespace {

/// A built-in set: the slot for it, and its taps.
struct Builtin {
    PCM_FILTER_COEFFICIENTS **slot;
    const PCM_SAMPLE *coefficients;
    pbInt length;
};

#define PCM_LIST_SET(NAME, TAPS, SUM)                                                                                  \
    {&pcm___FilterCoefficientsLowpass##NAME, pcm___FilterCoefficientsBuiltinLowpass##NAME, TAPS},

constexpr Builtin kBuiltins[] = {PCM_FOR_EACH_SET(PCM_LIST_SET)};

/// A set that owns the block.
PCM_FILTER_COEFFICIENTS *CreateWith(PCM_SAMPLE *backing, pbInt length)
{
    auto coeff = pcm::CreateObject<PCM_FILTER_COEFFICIENTS>(pcm___sort_PCM_FILTER_COEFFICIENTS);
    coeff->backing = backing;
    coeff->length = length;
    pb___ObjDbgSetAllocationSizeN(pcm::AsObj(coeff.get()), length, PB_SIZEOF(PCM_SAMPLE));
    return coeff.Detach();
}

PCM_FILTER_COEFFICIENTS *CreateWithCopy(const PCM_SAMPLE *source, pbInt length)
{
    auto *backing = static_cast<PCM_SAMPLE *>(pbMemAllocN(length, PB_SIZEOF(PCM_SAMPLE)));
    pcm___SamplesCopy(backing, source, length);
    return CreateWith(backing, length);
}

} // namespace

void pcm___FilterCoefficientsStartup()
{
    for (const Builtin &builtin : kBuiltins)
        *builtin.slot = pcmFilterCoefficientsCreateFromSamplesCopy(builtin.coefficients, builtin.length);
}

void pcm___FilterCoefficientsShutdown()
{
    for (const Builtin &builtin : kBuiltins)
        pcm::ReleaseAndMark(builtin.slot);
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreate(PCM_FILTER_TYPE type)
{
    PB_ASSERT(PCM_FILTER_TYPE_OK( type ));

    return pcm::Ref<PCM_FILTER_COEFFICIENTS>::Share(*kBuiltins[type].slot).Detach();
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesUse(PCM_SAMPLE *coefficients, pbInt length)
{
    PB_ASSERT(coefficients);
    PB_ASSERT(length > 0);

    return CreateWith(coefficients, length);
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesCopy(const PCM_SAMPLE *coefficients, pbInt length)
{
    PB_ASSERT(coefficients);
    PB_ASSERT(length > 0);

    return CreateWithCopy(coefficients, length);
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFrom(PCM_FILTER_COEFFICIENTS *source)
{
    return CreateWithCopy(source->backing, source->length);
}

const PCM_SAMPLE *pcmFilterCoefficientsBacking(PCM_FILTER_COEFFICIENTS *coeff)
{
    PB_ASSERT(coeff);

    return coeff->backing;
}

pbInt pcmFilterCoefficientsLength(PCM_FILTER_COEFFICIENTS *coeff)
{
    PB_ASSERT(coeff);

    return coeff->length;
}
