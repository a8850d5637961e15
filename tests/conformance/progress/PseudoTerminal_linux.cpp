#include "conformance/progress/PseudoTerminal_linux.h"

#include <array>
#include <cstdlib>
#include <iostream>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Brennic::Testing {

PseudoTerminal::PseudoTerminal(int columns) : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0)
        return;
    m_terminal = ::open(::ptsname(m_master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_terminal < 0)
        return;
    setColumns(columns);
    ::setenv("TERM", "xterm", 1); // whatever kind the tests themselves are started from
    std::cout.flush();
    m_saved = ::dup(STDOUT_FILENO);
    ::dup2(m_terminal, STDOUT_FILENO);
    m_reader = std::thread([this] { read(); });
}

PseudoTerminal::~PseudoTerminal()
{
    close();
    if (m_master >= 0)
        ::close(m_master);
}

void PseudoTerminal::setColumns(int columns)
{
    winsize size = {};
    size.ws_row = 24;
    size.ws_col = static_cast<unsigned short>(columns);
    ::ioctl(m_terminal, TIOCSWINSZ, &size);
}

std::string PseudoTerminal::text() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_text;
}

std::string PseudoTerminal::close()
{
    if (m_saved >= 0) {
        std::cout.flush();
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        ::close(m_terminal); // nobody writes any more: the reader comes to the end
        m_saved = -1;
        m_reader.join();
    }
    return text();
}

void PseudoTerminal::read()
{
    std::array<char, 4096> block{};
    for (ssize_t size = 0; (size = ::read(m_master, block.data(), block.size())) > 0;) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_text.append(block.data(), static_cast<std::size_t>(size));
    }
}

} // namespace Brennic::Testing
