#pragma once
/// \file
/// Internal, not installed. Raises the limits for file sizes and open files as far as the system allows, so that a dump
/// can be written. Restores them when it is destroyed.

#include <sys/resource.h>

namespace Brennic::Minidump {

class RaisedLimits
{
public:
    RaisedLimits();
    ~RaisedLimits();
    RaisedLimits(const RaisedLimits&) = delete;
    RaisedLimits& operator=(const RaisedLimits&) = delete;

private:
    rlimit m_fileSize{};
    rlimit m_openFiles{};
};

} // namespace Brennic::Minidump
