#pragma once
/// \file
/// Internal, not installed. The file of a report: written under a temporary name beside the final one, and
/// renamed when it is complete.
///
/// Devices and FIFOs are written to directly, and so are files in folders where no file can be created.

#include <cstddef>
#include <memory>
#include <string>

namespace Brennic::Core {

class ReportFile
{
public:
    ReportFile();
    /// Removes the file if it has not been published.
    ~ReportFile();
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;

    /// \return whether the file can be written.
    bool open(const std::wstring& path);
    /// Writes text with line feeds, as the platform ends lines. \return whether all of it could be written.
    bool write(const char* text, std::size_t size);
    /// Gives the file its name. \return whether it has it; if not, what was there before is still there.
    bool publish();

    /// Removes the unpublished file of the report that was begun last, and prevents its publication. The
    /// crash filter calls it when the time for the report is over. Safe in a signal handler.
    static void abandonLast();

private:
    struct Platform;

    std::unique_ptr<Platform> m_platform;
};

} // namespace Brennic::Core
