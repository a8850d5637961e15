#include "Platform.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

#include <QSocketNotifier>

namespace {

// The signal's number goes through it, from the handler to the event loop.
std::array<int, 2> g_channel = {-1, -1};
volatile std::sig_atomic_t g_caughtSignal = SIGINT;

void passOn(int signal)
{
    g_caughtSignal = signal;
    const char byte = 0;
    const ssize_t ignored = ::write(g_channel[0], &byte, 1);
    static_cast<void>(ignored);
}

void watch(int signal)
{
    struct sigaction action = {};
    action.sa_handler = passOn;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND); // the second one ends the process
    ::sigaction(signal, &action, nullptr);
}

} // namespace

// Terminals take it as it is.
class TerminalOutput::Impl
{
};

TerminalOutput::TerminalOutput() = default;
TerminalOutput::~TerminalOutput() = default;

void endInterrupted()
{
    std::signal(g_caughtSignal, SIG_DFL);
    ::raise(g_caughtSignal);
    std::_Exit(EXIT_FAILURE);
}

class InterruptWatch::Impl
{
public:
    explicit Impl(std::function<void()> interrupted) : m_notifier(openChannel(), QSocketNotifier::Read)
    {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                         [this, call = std::move(interrupted)] {
                             m_notifier.setEnabled(false);
                             call();
                         });
        watch(SIGINT);
        watch(SIGTERM);
    }

private:
    static int openChannel()
    {
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_channel.data());
        return g_channel[1];
    }

    QSocketNotifier m_notifier;
};

InterruptWatch::InterruptWatch(std::function<void()> interrupted)
    : m_impl(std::make_unique<Impl>(std::move(interrupted)))
{
}

InterruptWatch::~InterruptWatch() = default;

void raiseIllegalInstruction()
{
    std::raise(SIGILL);
}

void printWithoutMemory(const char* text)
{
    const ssize_t ignored = ::write(STDERR_FILENO, text, std::strlen(text));
    static_cast<void>(ignored);
}
