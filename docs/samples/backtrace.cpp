// Ends the process and prints the calls that led there.
#include <pcm/pcm.hpp>

#include <csignal>
#include <execinfo.h>
#include <unistd.h>

// Writes the calls that led here to standard error. abort() then ends the process as it would have.
static void LogCalls(int)
{
    void *calls[64];
    backtrace_symbols_fd(calls, backtrace(calls, 64), STDERR_FILENO);
}

int main()
{
    void *first;
    backtrace(&first, 1); // the first call loads a library, which a signal handler must not do
    std::signal(SIGABRT, LogCalls);

    const pcm::Module module;
    pcm::Packet(2).WriteZero(90, 11);
}
