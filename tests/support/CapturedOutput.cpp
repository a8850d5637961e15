#include "support/CapturedOutput.h"

#include <cstdio>
#include <iostream>

#include "support/Files.h"

namespace Brennic::Testing {

namespace {

void flush()
{
    std::cout.flush();
    std::fflush(stdout);
    std::fflush(stderr);
}

} // namespace

CapturedOutput::CapturedOutput(int descriptor)
    : m_descriptor(descriptor), m_saved(Descriptor::duplicate(descriptor))
{
    flush();
    const int file = Descriptor::openToAppend(m_directory / "output");
    Descriptor::replace(m_descriptor, file);
    Descriptor::close(file);
}

CapturedOutput::~CapturedOutput()
{
    flush();
    Descriptor::replace(m_descriptor, m_saved);
    Descriptor::close(m_saved);
    if (::testing::Test::HasFailure()) // what was caught may tell why
        std::cout << text() << std::flush;
}

std::string CapturedOutput::text() const
{
    flush();
    return readFile(m_directory / "output");
}

} // namespace Brennic::Testing
