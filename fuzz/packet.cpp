// The packets of the model test, in the hands of the input.
#include "../tests/models/packet_model.h"
#include "fuzz.h"

void Drive(Random &random)
{
    PacketModel model(random);
    while (!random.Done())
        model.Step();
}
