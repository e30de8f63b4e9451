// One of the models of the tests, PCM_MODEL, driven by the input.
#include "../tests/models/conversion_model.h"
#include "../tests/models/filter_model.h"
#include "../tests/models/packet_model.h"
#include "../tests/models/queue_model.h"
#include "../tests/models/tone_model.h"

void Drive(Random &random)
{
    PCM_MODEL model(random);
    while (!random.Done())
        model.Step();
}
