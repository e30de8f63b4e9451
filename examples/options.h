// Values on the command line.
#pragma once

#include "audio_file.h"

#include <pb/pb_base.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// @return the number that an option was given; throws Failure when it is none, or out of range
inline pbReal NumberOf(const std::string &option, const std::string &text, pbReal low, pbReal high)
{
    char *end = nullptr;
    const pbReal number = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end || !(number >= low && number <= high)) {
        char range[80];
        std::snprintf(range, sizeof range, "a number from %g to %g", low, high);
        throw Failure(option + " takes " + range + ", not '" + text + "'");
    }
    return number;
}

/// The same without a fraction.
inline pbInt CountOf(const std::string &option, std::string_view text, pbInt low, pbInt high)
{
    pbInt count = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), count);
    if (error != std::errc() || end != text.end() || count < low || count > high)
        throw Failure(option + " takes whole numbers from " + std::to_string(low) + " to " + std::to_string(high) +
                      ", not '" + std::string(text) + "'");
    return count;
}
