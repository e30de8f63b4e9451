// Coefficient sets: those that are built in, and those of callers.
#include "pcm_c_array.h"
#include "pcm_object.h"

#include <pcm/pcm_filter_coefficients.h>
#include <pcm/pcm_samples.h>

#include <pb/pb_int.h>
#include <pb/pb_mem.h>

#include <span>

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

namespace {

/// A whole set from its first half.
template <std::size_t kHalf> constexpr auto Mirrored(const PCM_SAMPLE (&half)[kHalf])
{
    std::array<PCM_SAMPLE, 2 * kHalf> taps{};
    for (std::size_t i = 0; i < kHalf; ++i)
        taps[i] = taps[2 * kHalf - 1 - i] = half[i];
    return taps;
}

/// Whether the gain at 0 Hz, the sum of all taps, is the one given, in billionths.
constexpr bool SumsTo(std::span<const PCM_SAMPLE> taps, double billionths)
{
    double off = -billionths;
    for (const PCM_SAMPLE tap : taps)
        off += 1e9 * static_cast<double>(tap);
    return off > -0.501 && off < 0.501;
}

} // namespace

#define PCM_FILTER_SET(CUTOFF, RATE, SUM, ...)                                                                         \
    extern "C" {                                                                                                       \
    extern constexpr auto kTaps##CUTOFF##At##RATE = Mirrored({__VA_ARGS__});                                           \
    }                                                                                                                  \
    static_assert(SumsTo(kTaps##CUTOFF##At##RATE, SUM));                                                               \
    extern pcm::CArray<kTaps##CUTOFF##At##RATE> pcm___FilterCoefficientsBuiltinLowpass##CUTOFF##At##RATE               \
        __attribute__((alias("kTaps" #CUTOFF "At" #RATE)));                                                            \
    PCM_FILTER_COEFFICIENTS *pcm___FilterCoefficientsLowpass##CUTOFF##At##RATE = nullptr;
#include "pcm_filter_sets.h"

namespace {

/// A built-in set: its type, the slot for it, and its taps.
struct Builtin {
    PCM_FILTER_TYPE type;
    PCM_FILTER_COEFFICIENTS **slot;
    std::span<const PCM_SAMPLE> taps;
};

constexpr Builtin kBuiltins[] = {
#define PCM_FILTER_SET(CUTOFF, RATE, ...)                                                                              \
    {PCM_FILTER_TYPE_LOWPASS_##CUTOFF##_AT_##RATE, &pcm___FilterCoefficientsLowpass##CUTOFF##At##RATE,                 \
     kTaps##CUTOFF##At##RATE},
#include "pcm_filter_sets.h"
};

/// Whether types are places in the table, and there are no others.
constexpr bool AreComplete(std::span<const Builtin> builtins)
{
    PCM_FILTER_TYPE type = 0;
    for (const Builtin &builtin : builtins)
        if (builtin.type != type++)
            return false;
    return PCM_FILTER_TYPE_OK(type - 1) && !PCM_FILTER_TYPE_OK(type);
}
static_assert(AreComplete(kBuiltins));

} // namespace

void pcm___FilterCoefficientsStartup()
{
    for (const Builtin &builtin : kBuiltins)
        *builtin.slot = pcmFilterCoefficientsCreateFromSamplesCopy(builtin.taps.data(), std::ssize(builtin.taps));
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

    auto coeff = pcm::CreateObject<PCM_FILTER_COEFFICIENTS>(pcm___sort_PCM_FILTER_COEFFICIENTS);
    coeff->backing = coefficients;
    coeff->length = length;
    pb___ObjDbgSetAllocationSizeN(pcm::AsObj(coeff.get()), length, PB_SIZEOF(PCM_SAMPLE));
    return coeff.Detach();
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFromSamplesCopy(const PCM_SAMPLE *coefficients, pbInt length)
{
    PB_ASSERT(coefficients);
    PB_ASSERT(length > 0);

    auto *backing = static_cast<PCM_SAMPLE *>(pbMemAllocN(length, PB_SIZEOF(PCM_SAMPLE)));
    pcm___SamplesCopy(backing, coefficients, length);
    return pcmFilterCoefficientsCreateFromSamplesUse(backing, length);
}

PCM_FILTER_COEFFICIENTS *pcmFilterCoefficientsCreateFrom(PCM_FILTER_COEFFICIENTS *source)
{
    return pcmFilterCoefficientsCreateFromSamplesCopy(source->backing, source->length);
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
