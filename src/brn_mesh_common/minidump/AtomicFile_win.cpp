#include <brn_mesh_common/minidump/AtomicFile_win.h>

#include <array>
#include <cwchar>
#include <string_view>

#include <winternl.h>

namespace Brennic::Minidump {

namespace {

constexpr int mostAttempts = 100;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool isRefusal(DWORD error)
{
    return error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION || error == ERROR_WRITE_PROTECT;
}

// Names like NUL and CON, and pipes.
bool isDeviceName(const wchar_t* path)
{
    std::array<wchar_t, 32> full{};
    const DWORD length = GetFullPathNameW(path, static_cast<DWORD>(full.size()), full.data(), nullptr);
    const std::wstring_view start = length != 0 && length < full.size() ? full.data() : path;
    return start.substr(0, 4) == L"\\\\.\\";
}

} // namespace

bool AtomicFile::create(const wchar_t* path)
{
    discard();
    m_isDevice = m_mayBeWritten = false;
    return appendExtension(path, L"", m_path) && createPartial();
}

bool AtomicFile::open(const wchar_t* path)
{
    discard();
    if (!appendExtension(path, L"", m_path) || !examine())
        return false;
    if (m_isDevice)
        return openItself(OPEN_EXISTING);
    return createPartial() || (m_mayBeWritten && isRefusal(GetLastError()) && openItself(TRUNCATE_EXISTING));
}

bool AtomicFile::examine()
{
    m_mayBeWritten = false;
    m_isDevice = isDeviceName(m_path.data());
    if (m_isDevice)
        return true;
    const DWORD attributes = GetFileAttributesW(m_path.data());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return GetLastError() == ERROR_FILE_NOT_FOUND;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return false;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
        return true;
    const HANDLE file =
        CreateFileW(m_path.data(), GENERIC_WRITE, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    m_mayBeWritten = file != INVALID_HANDLE_VALUE;
    if (m_mayBeWritten)
        CloseHandle(file);
    return m_mayBeWritten;
}

bool AtomicFile::openItself(DWORD disposition)
{
    m_handle = CreateFileW(m_path.data(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return m_handle != INVALID_HANDLE_VALUE;
}

bool AtomicFile::createPartial()
{
    DWORD error = ERROR_FILE_EXISTS;
    for (int attempt = 0; attempt != mostAttempts && error == ERROR_FILE_EXISTS; ++attempt) {
        std::array<wchar_t, randomNameSize + 8> extension{L'.'};
        makeRandomName(extension.data() + 1);
        std::wcscat(extension.data(), L".part");
        if (!appendExtension(m_path.data(), extension.data(), m_partialPath))
            return false;
        m_handle = CreateFileW(m_partialPath.data(), GENERIC_READ | GENERIC_WRITE | DELETE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                               nullptr);
        if (m_handle != INVALID_HANDLE_VALUE)
            return m_isPartial = true;
        error = GetLastError();
    }
    return false;
}

LONGLONG AtomicFile::size() const
{
    const HANDLE file = m_handle;
    IO_STATUS_BLOCK status{};
    struct // FILE_STANDARD_INFORMATION
    {
        LARGE_INTEGER allocated;
        LARGE_INTEGER end;
        ULONG links;
        BOOLEAN isDeleted;
        BOOLEAN isDirectory;
    } information{};
    constexpr auto standardInformation = static_cast<FILE_INFORMATION_CLASS>(5);
    const bool isKnown =
        file != INVALID_HANDLE_VALUE &&
        NtQueryInformationFile(file, &status, &information, sizeof information, standardInformation) == 0;
    return isKnown ? information.end.QuadPart : -1;
}

bool AtomicFile::write(const void* data, DWORD size)
{
    const auto* bytes = static_cast<const char*>(data);
    while (size != 0) {
        DWORD written = 0;
        if (WriteFile(m_handle, bytes, size, &written, nullptr) == 0 || written == 0)
            return false;
        bytes += written;
        size -= written;
    }
    return true;
}

bool AtomicFile::publish()
{
    if (!m_isPartial)
        return close();
    if (!close()) {
        discard();
        return false;
    }
    m_isPartial = MoveFileExW(m_partialPath.data(), m_path.data(), MOVEFILE_REPLACE_EXISTING) == 0;
    // A file that another process has open, for example, can be written, but not replaced.
    const bool isPublished =
        !m_isPartial || (m_mayBeWritten && isRefusal(GetLastError()) && replaceContent());
    discard();
    return isPublished;
}

bool AtomicFile::publishAsNew()
{
    m_isPartial = !close() || MoveFileExW(m_partialPath.data(), m_path.data(), 0) == 0;
    const bool isPublished = !m_isPartial;
    discard();
    return isPublished;
}

bool AtomicFile::replaceContent()
{
    return CopyFileW(m_partialPath.data(), m_path.data(), FALSE) != 0;
}

bool AtomicFile::close()
{
    const HANDLE file = m_handle.exchange(INVALID_HANDLE_VALUE);
    return file == INVALID_HANDLE_VALUE || CloseHandle(file) != 0;
}

void AtomicFile::discard()
{
    close();
    if (m_isPartial)
        DeleteFileW(m_partialPath.data());
    m_isPartial = false;
}

void AtomicFile::abandon()
{
    FILE_DISPOSITION_INFO disposition{};
    disposition.DeleteFile = TRUE;
    const HANDLE file = m_handle;
    if (m_isPartial && file != INVALID_HANDLE_VALUE)
        SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition);
}

} // namespace Brennic::Minidump
