// The queues of the model test, in the hands of the input.
#include "../tests/machines/queue_machine.h"
#include "fuzz.h"

void Drive(Random &random)
{
    QueueMachine machine(random);
    while (!random.Done())
        machine.Step();
    machine.End();
}
