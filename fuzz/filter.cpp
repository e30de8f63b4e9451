// The filters of the model test, in the hands of the input.
#include "../tests/models/filter_model.h"
#include "fuzz.h"

void Drive(Random &random)
{
    FilterModel model(random);
    while (!random.Done())
        model.Step();
}
