// The sample kernels against plain loops, at all lengths around the vectors' width, all alignments, and overlapping.
#include "support.h"

#include <cmath>
#include <limits>

namespace {

using Flat = void(float *dest, const float *source, pbInt samples);

TEST(Samples, FlatKernelsAreOneAscendingPassAlsoWhereArraysOverlap)
{
    const struct {
        const char *name;
        Flat *kernel, *plain;
    } rows[] = {
        {"add", pcm___SamplesAdd,
         [](float *dest, const float *source, pbInt n) {
             for (pbInt i = 0; i < n; ++i)
                 const_cast<volatile float *>(dest)[i] = dest[i] + source[i];
         }},
        {"mul", pcm___SamplesMul,
         [](float *dest, const float *source, pbInt n) {
             for (pbInt i = 0; i < n; ++i)
                 const_cast<volatile float *>(dest)[i] = dest[i] * source[i];
         }},
        {"scale", [](float *dest, const float *, pbInt n) { pcm___SamplesScale(dest, n, 0.1); },
         [](float *dest, const float *, pbInt n) {
             for (pbInt i = 0; i < n; ++i)
                 const_cast<volatile float *>(dest)[i] = dest[i] * 0.10000000149011612f;
         }},
        {"move", pcm___SamplesMove,
         [](float *dest, const float *source, pbInt n) {
             const Samples aside(source, source + n);
             std::copy(aside.begin(), aside.end(), dest);
         }},
        {"zero", [](float *dest, const float *, pbInt n) { pcm___SamplesZero(dest, n); },
         [](float *dest, const float *, pbInt n) { std::fill_n(dest, n, 0.0f); }},
    };
    Random random;
    for (const auto &row : rows)
        for (pbInt length = 0; length <= 70; ++length)
            for (const pbInt distance : {-40, -16, -9, -1, 0, 1, 3, 8, 17, 80}) {
                SCOPED_TRACE(std::string(row.name) + " of " + std::to_string(length) + " at " +
                             std::to_string(distance));
                const pbInt at = 48 + random.From(0, 7);
                Samples got = random.OddRun(256), wanted = got;
                row.kernel(got.data() + at, got.data() + at + distance, length);
                row.plain(wanted.data() + at, wanted.data() + at + distance, length);
                ASSERT_TRUE(Same(got, wanted));
            }
}

TEST(Samples, ChannelKernelsVisitOneSampleOfEachFrame)
{
    Random random;
    for (int round = 0; round < 3000; ++round) {
        const pbInt toChannels = random.From(1, 9), fromChannels = random.From(1, 9), frames = random.From(0, 40);
        const pbInt to = random.From(0, toChannels - 1), from = random.From(0, fromChannels - 1);
        const Samples source = random.OddRun(frames * fromChannels), before = random.OddRun(frames * toChannels);
        const auto check = [&](auto run, auto combine) {
            Samples got = before, wanted = before;
            run(got.data());
            for (pbInt f = 0; f < frames; ++f) {
                float &sample = wanted[static_cast<std::size_t>(f * toChannels + to)];
                sample = combine(sample, source[static_cast<std::size_t>(f * fromChannels + from)]);
            }
            return Same(got, wanted);
        };
        const auto walk = [&](auto *kernel) {
            return
                [=, &source](float *dest) { kernel(dest, to, toChannels, source.data(), from, fromChannels, frames); };
        };
        ASSERT_TRUE(check(walk(pcm___SamplesChannelCopy), [](float, float b) { return b; }));
        ASSERT_TRUE(check(walk(pcm___SamplesChannelAdd), [](float a, float b) { return a + b; }));
        ASSERT_TRUE(check(walk(pcm___SamplesChannelMul), [](float a, float b) { return a * b; }));
        ASSERT_TRUE(check([=](float *dest) { pcm___SamplesChannelZero(dest, to, toChannels, frames); },
                          [](float, float) { return 0.0f; }));
        ASSERT_TRUE(check([=](float *dest) { pcm___SamplesChannelScale(dest, to, toChannels, frames, 0.1); },
                          [](float a, float) { return a * 0.1f; }));
    }
    Samples ramp = {1, 2, 3, 4, 5, 6};
    pcm___SamplesChannelAdd(ramp.data(), 1, 2, ramp.data(), 0, 1, 3); // each frame sees the ones before as changed
    EXPECT_EQ(ramp, (Samples{1, 3, 3, 7, 5, 9}));
}

TEST(Samples, RefuseWhatIsNotThere)
{
    float s[4] = {};
    const char *const file = "source/pcm/pcm_samples_stdc";
    const auto copy = pcm___SamplesChannelCopy;
    const struct {
        const char *expression;
        std::function<void()> call;
    } rows[] = {
        {"samples >= 0", [&] { pcm___SamplesZero(s, -1); }},
        {"dest || !samples", [&] { pcm___SamplesScale(nullptr, 1, 1.0); }},
        {"samples >= 0", [&] { pcm___SamplesAdd(nullptr, nullptr, -1); }},
        {"dest || !samples", [&] { pcm___SamplesMul(nullptr, s, 1); }},
        {"source || !samples", [&] { pcm___SamplesMul(s, nullptr, 1); }},
        {"frames >= 0", [&] { copy(nullptr, 0, 1, nullptr, 0, 1, -1); }},
        {"dest || !frames", [&] { copy(nullptr, -1, 1, nullptr, 0, 1, 1); }},
        {"source || !frames", [&] { copy(s, -1, 1, nullptr, 0, 1, 1); }},
        {"destChannel >= 0", [&] { copy(s, -1, -1, s, 0, 1, 0); }},
        {"destChannels >= 0", [&] { copy(s, 0, -1, s, 0, 1, 0); }},
        {"destChannel < destChannels", [&] { copy(s, 1, 1, s, -1, 1, 0); }},
        {"destChannel < destChannels", [&] { copy(s, 0, 0, s, 0, 1, 0); }},
        {"sourceChannel >= 0", [&] { copy(s, 0, 1, s, -1, 1, 0); }},
        {"sourceChannels >= 0", [&] { copy(s, 0, 1, s, 0, -1, 0); }},
        {"sourceChannel < sourceChannels", [&] { copy(s, 0, 1, s, 0, 0, 0); }},
        {"sourceChannel < sourceChannels", [&] { copy(s, 0, 1, s, 2, 2, 0); }},
        {"destChannel < destChannels", [&] { pcm___SamplesChannelScale(nullptr, 2, 2, 0, 1.0); }},
        {"dest || !frames", [&] { pcm___SamplesChannelZero(nullptr, 0, 2, 1); }},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expression);
        EXPECT_ABORT_AT(row.call(), file, row.expression);
    }
    pcm___SamplesCopy(nullptr, nullptr, 0);
    pcm___SamplesAdd(nullptr, nullptr, 0);
}

} // namespace
