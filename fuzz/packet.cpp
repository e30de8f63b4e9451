// The packets of the model test, in the hands of the input.
#include "../tests/machines/packet_machine.h"
#include "fuzz.h"

void Drive(Random &random)
{
    PacketMachine machine(random);
    while (!random.Done())
        machine.Step();
}
