#pragma once
/// \file
/// Has the standard output be a terminal, and keeps what is written to it.

#include <mutex>
#include <string>
#include <thread>

namespace Brennic::Testing {

class PseudoTerminal
{
public:
    explicit PseudoTerminal(int columns);
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// False if the system gives us none.
    bool isOpen() const { return m_terminal >= 0; }
    void setColumns(int columns);

    /// All that has arrived so far.
    std::string text() const;
    /// Gives the standard output back; returns all that was written.
    std::string close();

private:
    void read();

    int m_master = -1;
    int m_terminal = -1;
    int m_saved = -1;
    mutable std::mutex m_mutex; // guards m_text
    std::string m_text;
    std::thread m_reader;
};

} // namespace Brennic::Testing
