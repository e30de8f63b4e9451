// The queues of the model test, in the hands of the input.
#include "../tests/models/queue_model.h"
#include "fuzz.h"

void Drive(Random &random)
{
    QueueModel model(random);
    while (!random.Done())
        model.Step();
    model.End();
}
