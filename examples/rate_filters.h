// Which built-in filter goes between two frame rates, one of which is a whole multiple of the other.
#pragma once

#include <pcm/pcm.hpp>

#include <algorithm>
#include <optional>

constexpr struct {
    pbInt high, low; ///< frames per second
    PCM_FILTER_TYPE type;
} kRateFilters[] = {
    {16000, 8000, PCM_FILTER_TYPE_LOWPASS_4000_AT_16000},   {24000, 8000, PCM_FILTER_TYPE_LOWPASS_4000_AT_24000},
    {48000, 8000, PCM_FILTER_TYPE_LOWPASS_4000_AT_48000},   {24000, 12000, PCM_FILTER_TYPE_LOWPASS_6000_AT_24000},
    {48000, 12000, PCM_FILTER_TYPE_LOWPASS_6000_AT_48000},  {48000, 16000, PCM_FILTER_TYPE_LOWPASS_8000_AT_48000},
    {48000, 24000, PCM_FILTER_TYPE_LOWPASS_12000_AT_48000},
};

/// @return nothing where no built-in filter leads from one rate to the other
constexpr std::optional<PCM_FILTER_TYPE> FilterBetween(pbInt from, pbInt to)
{
    for (const auto &filter : kRateFilters)
        if (filter.high == std::max(from, to) && filter.low == std::min(from, to))
            return filter.type;
    return std::nullopt;
}
