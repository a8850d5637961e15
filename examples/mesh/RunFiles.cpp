#include "RunFiles.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include <boost/nowide/convert.hpp>

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
