#include "check.h"

#include <pcm/pcm.hpp>

#include <thread>
#include <vector>

static void Work(const pcm::Packet &recording)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([mine = recording, i]() mutable { // each thread has its own handle
            mine.LevelAdjust(-3.0 * i);                        // and changes its own copy
            CHECK(mine.Frames() == 8000);
        });
    for (auto &thread : threads)
        thread.join();
}

int main()
{
    const pcm::Module module;
    const auto recording = pcm::Tone(20).Gather(8000);
    const std::vector<float> before(recording.Samples().begin(), recording.Samples().end());
    Work(recording);
    for (std::size_t i = 0; i < before.size(); ++i)
        CHECK(recording.Samples()[i] == before[i]);
}
