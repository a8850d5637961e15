#pragma once
/// \file
/// Has a console take UTF-8 while it lives, as all text of the program is.

#include <memory>

namespace Brennic::Waypoints {

class Utf8Console
{
public:
    Utf8Console();
    ~Utf8Console();
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    class Impl;
    std::unique_ptr<Impl> m_impl; // empty: nothing to put back
};

} // namespace Brennic::Waypoints
