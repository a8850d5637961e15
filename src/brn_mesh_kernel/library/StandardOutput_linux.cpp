#include <brn_mesh_kernel/library/StandardOutput.h>

#include <climits>
#include <cstdio>
#include <iostream>
#include <mutex>

#include <stdio_ext.h>
#include <unistd.h>

#include <brn_mesh_kernel/library/LimitedStream_linux.h>

namespace Brennic::Core {

namespace {

LimitedStream& standardOutput()
{
    static LimitedStream& stream =
        *new LimitedStream(STDOUT_FILENO); // never destroyed: records are logged late
    return stream;
}

// Flushes what the host has printed, if there is room for it. Does not wait for a host thread that is printing at
// this moment: on a pipe that is not read, that thread may block for ever while it holds the lock of stdout.
void flushHostsText()
{
    if (::ftrylockfile(stdout) != 0)
        return;
    if (::__fpending(stdout) <= PIPE_BUF)
        std::cout.flush();
    ::funlockfile(stdout);
}

void addToStandardOutput(const std::string& text)
{
    static std::mutex& mutex =
        *new std::mutex; // without the C library's buffer, std::cout has no lock of its own
    const std::lock_guard<std::mutex> lock(mutex);
    std::cout << text;
}

} // namespace

void writeToStandardOutput(const std::string& text)
{
    if (standardOutput().hasReader())
        standardOutput().write(text, &flushHostsText);
    else
        addToStandardOutput(text);
}

void drawOnStandardOutput(const std::string& text)
{
    writeToStandardOutput(text);
    if (!standardOutput().hasReader())
        std::cout.flush();
}

bool takeFirstLossOfStandardOutput()
{
    return standardOutput().takeFirstLoss();
}

} // namespace Brennic::Core
