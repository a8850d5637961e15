#pragma once
/// \file
/// Catches what the process sends to its debugger: on Linux that is what it writes to standard error.

#include <memory>
#include <string>

namespace Brennic::Testing {

class CapturedDebugger
{
public:
    CapturedDebugger();
    ~CapturedDebugger();
    CapturedDebugger(const CapturedDebugger&) = delete;
    CapturedDebugger& operator=(const CapturedDebugger&) = delete;

    /// All that was sent so far, as UTF-8.
    std::string text() const;

    /// What arrives of a line: all of it, but for a Windows that sends its debuggers no more than the ANSI text
    /// and the first 32 KB. For lines of which something has arrived.
    std::string shown(const std::string& utf8Line) const;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Brennic::Testing
