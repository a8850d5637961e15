#pragma once
/// \file
/// Catches what the process writes to a standard stream, whoever writes it.

#include <cstdio>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "support/Files.h"
#include "support/TemporaryDirectory.h"

namespace Brennic::Testing {

class CapturedOutput
{
public:
    /// \param descriptor `STDOUT_FILENO` or `STDERR_FILENO`
    explicit CapturedOutput(int descriptor) : m_descriptor(descriptor), m_saved(::dup(descriptor))
    {
        flush();
        const int file = ::open((m_directory / "output").c_str(), O_CREAT | O_RDWR | O_APPEND, 0600);
        ::dup2(file, m_descriptor);
        ::close(file);
    }
    ~CapturedOutput()
    {
        flush();
        ::dup2(m_saved, m_descriptor);
        ::close(m_saved);
        if (::testing::Test::HasFailure()) // what was caught may tell why
            std::cout << text() << std::flush;
    }
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// All that was written so far.
    std::string text() const
    {
        flush();
        return readFile(m_directory / "output");
    }

private:
    static void flush()
    {
        std::cout.flush();
        std::fflush(stdout);
        std::fflush(stderr);
    }

    TemporaryDirectory m_directory;
    int m_descriptor;
    int m_saved;
};

} // namespace Brennic::Testing
