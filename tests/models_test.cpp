// Random operations beside plain models of what they do, in rounds that each begin anew.
#include "models/conversion_model.h"
#include "models/filter_model.h"
#include "models/packet_model.h"
#include "models/queue_model.h"
#include "models/tone_model.h"

template <class Model> class Models : public testing::Test {
};
using AllModels = testing::Types<PacketModel, QueueModel, FilterModel, ToneModel, ConversionModel>;
TYPED_TEST_SUITE(Models, AllModels, );

TYPED_TEST(Models, AgreeWithTheLibraryAtEveryStep)
{
    Random random;
    for (int round = 0; round < 80; ++round) {
        TypeParam model(random);
        for (int step = 0; step < 250 && !this->HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            model.Step();
        }
    }
}
