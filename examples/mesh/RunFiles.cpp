#include "RunFiles.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_kernel/kernel/Kernel.h>

namespace {

// The kernel's own error does not say it, but the system's last one does, if it is about a file at all.
std::string reasonOf(int error)
{
    for (const int known : {ENOSPC, EFBIG, EACCES, EPERM, EROFS, EIO, ENAMETOOLONG})
        if (error == known)
            return std::generic_category().message(error);
    return "it cannot be written";
}

} // namespace

void requireWritablePlace(const std::filesystem::path& file)
{
    const std::filesystem::path directory = std::filesystem::absolute(file).parent_path();
    const std::string name = file.u8string();
    if (!std::filesystem::is_directory(directory))
        throw std::runtime_error("cannot save " + name + ": there is no directory " + directory.u8string());
    if (std::filesystem::is_directory(file))
        throw std::runtime_error("cannot save " + name + ": it is a directory");
    if (boost::nowide::narrow(boost::nowide::widen(name)) != name)
        throw std::runtime_error("cannot save " + name + ": its name is no valid UTF-8");
}

std::uintmax_t sizeOrZero(const std::filesystem::path& file)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    return error ? 0 : size;
}

void saveReport(const std::filesystem::path& file)
{
    const std::string name = file.u8string();
    errno = 0;
    try {
        Brennic::Core::Kernel::Instance().SaveWaypointsToXml(boost::nowide::widen(name).c_str());
    } catch (const std::runtime_error&) {
        throw std::runtime_error("cannot save " + name + ": " + reasonOf(errno));
    }
}
