#include <brn_mesh_common/minidump/AtomicFile_linux.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <string_view>

#include <brn_mesh_common/minidump/RandomName_linux.h>
#include <brn_mesh_common/minidump/Syscall_linux.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Brennic::Minidump {

namespace {

constexpr int mostAttempts = 100;
constexpr std::string_view partialMark = ".part";

long statusOf(const PathText& path, int flags, struct stat& status)
{
    return systemCall(SYS_newfstatat, AT_FDCWD, path.c_str(), &status, flags);
}

bool isDevice(const struct stat& status)
{
    return S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode) || S_ISFIFO(status.st_mode);
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

// A link of another user may be an attack: in a shared folder it could lead us to overwrite any of our files.
bool isTrustedLink(const struct stat& link)
{
    return link.st_uid == 0 || link.st_uid == static_cast<uid_t>(systemCall(SYS_geteuid));
}

// "/dev/stdout" and "/proc/self/fd/1" mean the open descriptor, even where it is that of a regular file.
bool isLinkToDevice(const PathText& path, const struct stat& link)
{
    struct stat target
    {
    };
    if (!isTrustedLink(link) || statusOf(path, 0, target) != 0)
        return false;
    return isDevice(target) || startsWith(path.view(), "/dev/") || startsWith(path.view(), "/proc/");
}

bool leadsToDevice(const PathText& path, const struct stat& status)
{
    return S_ISLNK(status.st_mode) ? isLinkToDevice(path, status) : isDevice(status);
}

// "NAME.RANDOM.part", with as much of the name as there is room for.
PathText randomNameBeside(const PathText& path)
{
    constexpr std::size_t addition = 1 + randomNameLength + partialMark.size();
    const std::string_view whole = path.view();
    const std::size_t nameStart = whole.rfind('/') + 1;
    const std::size_t longest = nameStart + NAME_MAX - addition;
    PathText partial;
    partial.append(whole.substr(0, longest)).append('.');
    appendRandomName(partial);
    partial.append(partialMark);
    return partial;
}

bool hasName(const PathText& path)
{
    return !path.view().empty() && path.view().back() != '/';
}

long writeTo(int file, const char* bytes, std::size_t size)
{
    while (size != 0) {
        const long written = systemCall(SYS_write, file, bytes, size);
        if (written == 0 || (written < 0 && written != -EINTR))
            return written < 0 ? written : -EIO;
        bytes += written > 0 ? written : 0;
        size -= written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return 0;
}

bool isRefusal(long error)
{
    return error == -EACCES || error == -EPERM || error == -EROFS;
}

} // namespace

bool AtomicFile::leadsToDevice(const PathText& path)
{
    struct stat status
    {
    };
    return statusOf(path, AT_SYMLINK_NOFOLLOW, status) == 0 && Minidump::leadsToDevice(path, status);
}

long AtomicFile::create(const PathText& path, Readers readers)
{
    discard();
    m_path = path;
    m_mode = readers == Readers::Owner ? 0600 : 0666;
    return createPartial();
}

long AtomicFile::open(const PathText& path)
{
    discard();
    m_path = path;
    m_mode = 0666;
    const long examined = examine();
    if (examined < 0)
        return examined;
    if (m_isDevice)
        return openItself(O_NOCTTY);
    const long created = createPartial();
    return m_mayBeWritten && isRefusal(created) ? openItself(O_NOFOLLOW) : created;
}

long AtomicFile::examine()
{
    m_isDevice = m_mayBeWritten = false;
    struct stat status
    {
    };
    const long result = statusOf(m_path, AT_SYMLINK_NOFOLLOW, status);
    if (result == -ENOENT && hasName(m_path))
        return 0;
    if (result < 0)
        return result;
    m_isDevice = Minidump::leadsToDevice(m_path, status);
    if (m_isDevice)
        return 0;
    if (S_ISDIR(status.st_mode) || !hasName(m_path))
        return -EISDIR;
    if (!S_ISREG(status.st_mode))
        return S_ISLNK(status.st_mode) ? 0 : -ENXIO;
    const long file =
        systemCall(SYS_openat, AT_FDCWD, m_path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0);
    if (file < 0)
        return file;
    systemCall(SYS_close, file); // now: the new file may need the last free descriptor
    m_mayBeWritten = true;
    if (status.st_uid == static_cast<uid_t>(systemCall(SYS_geteuid)))
        m_mode = status.st_mode & 0777;
    return 0;
}

long AtomicFile::openItself(int flags)
{
    const long file =
        systemCall(SYS_openat, AT_FDCWD, m_path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | flags, 0);
    m_descriptor = file < 0 ? -1 : static_cast<int>(file);
    return file < 0 ? file : 0;
}

long AtomicFile::createPartial()
{
    if (m_path.isCut() || !hasName(m_path))
        return m_path.isCut() ? -ENAMETOOLONG : -ENOENT;
    long file = -EEXIST;
    for (int attempt = 0; attempt != mostAttempts && file == -EEXIST; ++attempt) {
        m_partialPath = randomNameBeside(m_path);
        file = systemCall(SYS_openat, AT_FDCWD, m_partialPath.c_str(),
                          O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, m_mode);
    }
    if (file < 0)
        return file;
    m_descriptor = static_cast<int>(file);
    m_isPartial = true;
    if (m_mayBeWritten)
        systemCall(SYS_fchmod, m_descriptor, m_mode); // sets bits that the umask would clear
    return 0;
}

long AtomicFile::write(const void* data, std::size_t size)
{
    return writeTo(m_descriptor, static_cast<const char*>(data), size);
}

long AtomicFile::publish()
{
    const long closed = close(); // a full disk may be reported only now
    if (!m_isPartial)
        return closed;
    long result = closed;
    if (closed == 0)
        result = systemCall(SYS_renameat, AT_FDCWD, m_partialPath.c_str(), AT_FDCWD, m_path.c_str());
    m_isPartial = result != 0;
    // A file of another user in a folder like /tmp, or a mount point, can be written, but not replaced.
    if (m_mayBeWritten && (isRefusal(result) || result == -EBUSY))
        result = replaceContent();
    discard();
    return result;
}

long AtomicFile::publishAsNew()
{
    const long closed = close();
    if (closed != 0)
        return closed;
    const char* const from = m_partialPath.c_str();
    long result = systemCall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, m_path.c_str(), RENAME_NOREPLACE);
    m_isPartial = result != 0;
    if (result == -EINVAL || result == -ENOSYS) // the file system or the kernel does not support it
        result = systemCall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, m_path.c_str(), 0);
    if (result != -EEXIST)
        discard();
    return result;
}

void AtomicFile::takeNextName(const PathText& path)
{
    m_path = path;
}

long AtomicFile::copyToDevice(const PathText& device)
{
    // O_NONBLOCK: opening a FIFO that has no reader would block.
    const long target =
        systemCall(SYS_openat, AT_FDCWD, device.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC, 0);
    if (target < 0)
        return target;
    systemCall(SYS_fcntl, target, F_SETFL, O_WRONLY);
    const long result = copyInto(static_cast<int>(target));
    const long closed = systemCall(SYS_close, target);
    discard();
    return result != 0 ? result : closed;
}

long AtomicFile::replaceContent()
{
    m_descriptor = static_cast<int>(
        systemCall(SYS_openat, AT_FDCWD, m_partialPath.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC, 0));
    if (m_descriptor < 0)
        return m_descriptor;
    const long target =
        systemCall(SYS_openat, AT_FDCWD, m_path.c_str(), O_WRONLY | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0);
    if (target < 0)
        return target;
    const long result = copyInto(static_cast<int>(target));
    const long closed = systemCall(SYS_close, target);
    return result != 0 ? result : closed;
}

long AtomicFile::copyInto(int target)
{
    std::array<char, 4096> buffer; // NOLINT(*-member-init): read before it is written
    long result = systemCall(SYS_lseek, m_descriptor, 0, SEEK_SET);
    while (result >= 0) {
        const long size = systemCall(SYS_read, m_descriptor, buffer.data(), buffer.size());
        if (size == 0 || (size < 0 && size != -EINTR))
            return size;
        if (size > 0)
            result = writeTo(target, buffer.data(), static_cast<std::size_t>(size));
    }
    return result;
}

long AtomicFile::close()
{
    const long result = m_descriptor < 0 ? 0 : systemCall(SYS_close, m_descriptor);
    m_descriptor = -1;
    return result;
}

void AtomicFile::discard()
{
    close();
    abandon();
}

void AtomicFile::forget()
{
    m_descriptor = -1;
    m_isPartial = false;
}

void AtomicFile::abandon()
{
    if (m_isPartial.exchange(false))
        systemCall(SYS_unlinkat, AT_FDCWD, m_partialPath.c_str(), 0);
}

} // namespace Brennic::Minidump
