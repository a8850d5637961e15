#pragma once
/// \file
/// Internal, not installed. The file of a report: written beside its name, which it gets when it is whole.
///
/// A path that leads to a device or a FIFO is written to itself, and so is a file in a folder where none can be created.

#include <cstddef>
#include <memory>
#include <string>

namespace Brennic::Core {

class ReportFile
{
public:
    ReportFile();
    /// Removes what is not published.
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// \return whether the file can be written.
    bool open(const std::wstring& path);
    /// Writes text with line feeds, as the platform ends lines. \return whether all of it could be written.
    bool write(const char* text, std::size_t size);
    /// Gives the file its name. \return whether it has it; if not, what was there before is still there.
    bool publish();

    /// Removes what has been written of the report that was begun last, if it is not published; it will not be. For the
    /// crash filter, whose time for the report is up. Safe in a signal handler.
    static void giveUpLast();

private:
    struct Platform;

    std::unique_ptr<Platform> m_platform;
};

} // namespace Brennic::Core
