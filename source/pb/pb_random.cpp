// Random numbers: a generator for each thread, created at its first use.
#include "pb_assert.h"
#include "pb_heap.h"

#include <pb/pb_random.h>

#include <random>
#include <unistd.h>

namespace {

/// A seed sequence of system entropy, as many words as the generator's state has.
struct SystemSeed {
    using result_type = uint32_t;

    template <class Iterator> void generate(Iterator begin, Iterator end)
    {
        for (; begin != end; ++begin) {
            uint32_t word = 0;
            PB_ASSERT(getentropy(&word, sizeof(word)) == 0);
            *begin = word;
        }
    }
};

std::mt19937_64 &Generator()
{
    thread_local std::mt19937_64 generator = [] {
        SystemSeed seed;
        return std::mt19937_64(seed);
    }();
    return generator;
}

} // namespace

pbInt pbRandomInt()
{
    return static_cast<pbInt>(Generator()());
}

pbInt pbRandomNonNegativeIntRange(pbInt low, pbInt high)
{
    PB_ASSERT(low >= 0);
    PB_ASSERT(low < high);

    if (pb::kLiberal && Generator()() % 2)
        return high;
    return std::uniform_int_distribution<pbInt>(low, high - 1)(Generator());
}
