// Random operations beside plain models of what they do, in rounds that each begin anew.
#include "models/conversion_model.h"
#include "models/filter_model.h"
#include "models/packet_model.h"
#include "models/queue_model.h"
#include "models/tone_model.h"

namespace {

template <class Model> void Run(int rounds, int steps)
{
    Random random;
    for (int round = 0; round < rounds; ++round) {
        Model model(random);
        for (int step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            model.Step();
        }
    }
}

} // namespace

TEST(Models, OfPackets)
{
    Run<PacketModel>(10, 1000);
}

TEST(Models, OfQueues)
{
    Run<QueueModel>(10, 1000);
}

TEST(Models, OfFilters)
{
    Run<FilterModel>(40, 100);
}

TEST(Models, OfTones)
{
    Run<ToneModel>(60, 60);
}

TEST(Models, OfConversion)
{
    Run<ConversionModel>(1, 2000);
}
