// The command line of a program: a table of options, by which the arguments are read and the help is printed.
#pragma once

#include "audio_file.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct Option {
    std::string name;  ///< such as "--level"
    std::string value; ///< the name of its value in the help; empty: it takes none
    std::string help;  ///< one line or several
    std::function<void(const std::string &option, const std::string &value)> take;
};

/// A program's name, its help before the options, and, if it makes a file, the default of --encoding in words.
struct ProgramText {
    std::string name, usage, encoding = "";
};

/// The options of the output.
struct OutputOptions {
    std::string output;
    std::optional<int> container;         ///< nothing: what the name of the output says
    const SampleFormat *format = nullptr; ///< null: the usual one

    int Container() const { return container ? *container : ContainerOf(output); }
};

inline void PrintHelp(const ProgramText &program, const std::vector<Option> &options)
{
    std::size_t width = 0;
    for (const Option &option : options)
        width = std::max(width, option.name.size() + 1 + option.value.size());
    std::printf("%s\n", program.usage.c_str());
    for (const Option &option : options) {
        std::string help = option.help;
        for (std::size_t at = 0; (at = help.find('\n', at)) != help.npos; ++at)
            help.insert(at + 1, width + 4, ' ');
        std::printf("  %-*s  %s\n", static_cast<int>(width), (option.name + ' ' + option.value).c_str(), help.c_str());
    }
    if (program.encoding.empty())
        return;
    std::printf("\nOUTPUT is a .wav file, an .au file, or a .raw file, which is samples without a header. It gets its\n"
                "name when it is complete. As a file name, - is standard input or standard output, to which a .wav\n"
                "goes unless --type says otherwise.\n"
                "\nEncodings:");
    for (const SampleFormat &format : SampleFormats())
        std::printf(" %s", std::string(format.name).c_str());
    std::puts("");
}

/**
   Gives each option of the command line to its `take`. A value follows as an argument of its own or after "=". After
   "--" nothing is an option. Throws Failure.

   @return the arguments that are no options; nothing when only the help or the version was asked for, which is printed
*/
inline std::optional<std::vector<std::string>> WordsOf(const ProgramText &program, std::vector<Option> options,
                                                       const std::vector<std::string> &arguments)
{
    const std::string seeHelp = "; see " + program.name + " --help";
    bool onlyAsked = false;
    options.push_back({"--help", "", "print this and do nothing; also -h", [&](auto &, auto &) {
                           PrintHelp(program, options);
                           onlyAsked = true;
                       }});
    options.push_back({"--version", "", "print the library's version and do nothing", [&](auto &, auto &) {
                           const PB_MODULE_RECORD &record = pcm___module_record;
                           std::printf("%s (%s) %d.%d.%d\n", program.name.c_str(), record.name,
                                       static_cast<int>(record.versionMajor), static_cast<int>(record.versionMinor),
                                       static_cast<int>(record.versionPatch));
                           onlyAsked = true;
                       }});
    std::vector<std::string> words;
    for (auto argument = arguments.begin(); argument != arguments.end() && !onlyAsked; ++argument) {
        if (*argument == "--") {
            words.insert(words.end(), argument + 1, arguments.end());
            break;
        }
        if (argument->size() < 2 || argument->front() != '-') {
            words.push_back(*argument);
            continue;
        }
        const std::size_t equals = std::min(argument->find('='), argument->size());
        const std::string name = *argument == "-h" ? "--help" : argument->substr(0, equals);
        const auto option = std::ranges::find(options, name, &Option::name);
        if (option == options.end())
            throw Failure("unknown option '" + name + "'" + seeHelp);
        const bool hasValue = equals < argument->size();
        if (option->value.empty() && hasValue)
            throw Failure(name + " takes no value" + seeHelp);
        std::string value = hasValue ? argument->substr(equals + 1) : "";
        if (!option->value.empty() && !hasValue) {
            if (argument + 1 == arguments.end())
                throw Failure(name + " lacks its value" + seeHelp);
            value = *++argument;
        }
        option->take(name, value);
    }
    if (onlyAsked)
        return std::nullopt;
    return words;
}

/// The same with the options of a program that makes a file.
inline std::optional<std::vector<std::string>> WordsOf(const ProgramText &program, std::vector<Option> options,
                                                       OutputOptions &output, const std::vector<std::string> &arguments)
{
    options.push_back({"--encoding", "NAME", "how OUTPUT holds its samples; default: " + program.encoding,
                       [&](auto &, auto &value) { output.format = &SampleFormatNamed(value); }});
    options.push_back({"--type", "NAME", "what OUTPUT is, whatever its name: wav, au or raw",
                       [&](auto &, auto &value) { output.container = ContainerNamed(value); }});
    return WordsOf(program, std::move(options), arguments);
}

/// @return the number given to an option; throws Failure when it is not a number or out of range
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

/// Warns on standard error when few programs will read the output.
inline void Warn(const ProgramText &program, int container, const SampleFormat &format)
{
    if (container == SF_FORMAT_WAV && format.encoding & PCM_ENCODING_BIG_ENDIAN)
        std::fprintf(stderr, "%s: warning: few programs read a .wav file with big-endian samples (RIFX)\n",
                     program.name.c_str());
    if (container == SF_FORMAT_AU && format.encoding & PCM_ENCODING_LITTLE_ENDIAN)
        std::fprintf(stderr, "%s: warning: few programs read an .au file with little-endian samples\n",
                     program.name.c_str());
}

/// Does a program's work. What it throws becomes one line on standard error. @return the exit status
template <class Work> int RunProgram(const ProgramText &program, Work work)
{
    try {
        work();
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s: %s\n", program.name.c_str(), failure.what());
        return 1;
    }
}
