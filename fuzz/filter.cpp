// The filters of the model test, in the hands of the input.
#include "../tests/machines/filter_machine.h"
#include "fuzz.h"

void Drive(Random &random)
{
    FilterMachine machine(random);
    while (!random.Done())
        machine.Step();
}
