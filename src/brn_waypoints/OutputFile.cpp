#include <brn_waypoints/Outputs.h>

#include <cerrno>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Brennic::Waypoints {

namespace {

namespace fs = std::filesystem;
using Writer = std::function<void(std::ostream&)>;

[[noreturn]] void fail(const std::string& name, const std::string& reason)
{
    throw std::runtime_error("cannot write " + name + ": " + reason);
}

std::string reasonOf(int error)
{
    return error == 0 ? "the system does not say why" : std::generic_category().message(error);
}

void writeStream(const std::string& name, std::ostream& stream, const Writer& write)
{
    errno = 0;
    write(stream);
    if (!stream.flush())
        fail(name, reasonOf(errno));
}

void writeTo(const fs::path& place, const std::string& name, const Writer& write)
{
    errno = 0;
    std::ofstream stream(place, std::ios::binary);
    if (!stream)
        fail(name, reasonOf(errno));
    writeStream(name, stream, write);
    stream.close();
    if (!stream)
        fail(name, reasonOf(errno));
}

// Removed by the destructor unless it has replaced the target.
class NewFile
{
public:
    explicit NewFile(const fs::path& target) : m_target(target), m_path(target)
    {
        std::random_device random;
        m_path += "." + std::to_string(random()) + ".new";
    }
    ~NewFile()
    {
        std::error_code ignored;
        if (!m_isKept)
            fs::remove(m_path, ignored);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const fs::path& path() const { return m_path; }

    void takePlace(const std::string& name)
    {
        std::error_code error;
        const fs::file_status former = fs::status(m_target, error);
        if (fs::exists(former))
            fs::permissions(m_path, former.permissions(), error);
        fs::rename(m_path, m_target, error);
        if (error)
            fail(name, error.message());
        m_isKept = true;
    }

private:
    fs::path m_target;
    fs::path m_path;
    bool m_isKept = false;
};

// For a link, the file that it leads to: the link itself is kept.
fs::path target(const fs::path& file)
{
    std::error_code error;
    const fs::path resolved = fs::weakly_canonical(file, error);
    return error ? file : resolved;
}

} // namespace

void writeOutput(const fs::path& file, const Writer& write)
{
    if (file == "-") {
        writeStream("the standard output", std::cout, write);
        return;
    }
    const std::string name = file.u8string();
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (fs::is_directory(status))
        fail(name, "it is a directory");
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        writeTo(file, name, write);
        return;
    }
    NewFile newFile(target(file));
    writeTo(newFile.path(), name, write);
    newFile.takePlace(name);
}

} // namespace Brennic::Waypoints
