#pragma once
/// \file
/// Catches what the process writes to a standard stream, whoever writes it.

#include <string>

#include "support/Descriptor.h"
#include "support/TemporaryDirectory.h"

namespace Brennic::Testing {

class CapturedOutput
{
public:
    explicit CapturedOutput(int descriptor);
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    /// All that was written so far.
    std::string text() const;

private:
    TemporaryDirectory m_directory;
    int m_descriptor;
    int m_saved;
};

} // namespace Brennic::Testing
