// How loud audio is: peak and root mean square. Shows how a program reads the samples of a packet.
#pragma once

#include <pcm/pcm.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>

/// Peak and root mean square of the packets added.
class Meter {
public:
    void Add(const pcm::Packet &pkt)
    {
        frames_ += pkt.Frames();
        const auto samples = pkt.Samples();
        samples_ += samples.size();
        std::size_t i = 0;
        for (; i + kLanes <= samples.size(); i += kLanes)
            for (std::size_t lane = 0; lane < kLanes; ++lane)
                AddSample(lane, samples[i + lane]);
        for (; i < samples.size(); ++i)
            AddSample(0, samples[i]);
    }

    pbInt Frames() const { return frames_; }
    double Peak() const { return *std::max_element(peak_.begin(), peak_.end()); }

    /// Such as "peak -6.0 dB, RMS -20.3 dB"; full scale is 0 dB.
    std::string Text() const
    {
        double sum = 0.0;
        for (const double lane : squares_)
            sum += lane;
        if (!std::isfinite(sum))
            return "some samples are not finite numbers";
        if (sum == 0.0)
            return "silent";
        char text[80];
        std::snprintf(text, sizeof text, "peak %.1f dB, RMS %.1f dB", pcm::DecibelFromGain(Peak()),
                      pcm::DecibelFromGain(std::sqrt(sum / static_cast<double>(samples_))));
        return text;
    }

private:
    static constexpr std::size_t kLanes = 8; // separate sums, which the compiler may compute in one vector

    void AddSample(std::size_t lane, double sample)
    {
        squares_[lane] += sample * sample;
        peak_[lane] = std::max(peak_[lane], std::fabs(sample));
    }

    pbInt frames_ = 0;
    std::size_t samples_ = 0;
    std::array<double, kLanes> squares_{}, peak_{};
};
