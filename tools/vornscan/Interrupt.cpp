#include "Interrupt.h"

#include <csignal>
#include <cstdlib>

#include "Failure.h"

namespace vornscan {
namespace {

volatile std::sig_atomic_t g_interrupted = 0;

extern "C" void OnInterrupt(int signal)
{
    if (g_interrupted)
        std::_Exit(static_cast<int>(ExitCode::Cancelled));
    g_interrupted = 1;
    std::signal(signal, OnInterrupt);  // some systems go back to the default after one signal
}

extern "C" void OnEarlyInterrupt(int)
{
    std::_Exit(static_cast<int>(ExitCode::Cancelled));
}

}  // namespace

void EndAtInterrupts()
{
    std::signal(SIGINT, OnEarlyInterrupt);
    std::signal(SIGTERM, OnEarlyInterrupt);
}

void CatchInterrupts()
{
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

bool Interrupted()
{
    return g_interrupted != 0;
}

}  // namespace vornscan
