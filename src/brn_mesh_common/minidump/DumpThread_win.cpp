#include <brn_mesh_common/minidump/DumpThread_win.h>

#include <atomic>
#include <mutex>
#include <string>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/minidump/DumpPath_win.h>
#include <brn_mesh_common/minidump/ShallowWait_win.h>

#include <windows.h>

#include <dbghelp.h>

namespace Brennic::Minidump {

namespace {

// Milliseconds. The system needs one for a few threads; a busy machine and Wine need seconds.
constexpr DWORD timeForDump = 10'000;

using MiniDumpWriter = BOOL(WINAPI*)(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE type,
                                     MINIDUMP_EXCEPTION_INFORMATION* exception,
                                     MINIDUMP_USER_STREAM_INFORMATION* streams,
                                     MINIDUMP_CALLBACK_INFORMATION* callback);

struct Request
{
    MINIDUMP_EXCEPTION_INFORMATION exception;
    const wchar_t* path;
};

void printLine(const char* line)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), line, static_cast<DWORD>(std::char_traits<char>::length(line)),
              &written, nullptr);
}

class DumpThread
{
public:
    void prepare()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_thread != nullptr)
            return;
        m_asked = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        m_answered = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        m_thread = CreateThread(nullptr, 0, &DumpThread::main, this, 0, nullptr);
    }

    bool run(const Request& request)
    {
        while (m_isBusy.exchange(true)) // of two calls at once the second waits for the first
            Sleep(1);
        m_request = request;
        ResetEvent(m_answered);
        SetEvent(m_asked);
        // A thread that does not come back stays busy: there is no second dump.
        const bool isInTime = waitWithLittleStack(m_answered, timeForDump);
        const bool isWritten = isInTime && m_isWritten;
        m_isBusy = !isInTime;
        return isWritten;
    }

private:
    static DWORD WINAPI main(void* self)
    {
        static_cast<DumpThread*>(self)->serve();
        return 0;
    }

    void serve()
    {
        const HMODULE library = LoadLibraryW(L"dbghelp.dll");
        if (library != nullptr)
            m_writer = reinterpret_cast<MiniDumpWriter>(
                reinterpret_cast<void*>(GetProcAddress(library, "MiniDumpWriteDump")));
        for (;;) {
            WaitForSingleObject(m_asked, INFINITE);
            m_isWritten = m_writer != nullptr && writeSomewhere();
            SetEvent(m_answered);
        }
    }

    bool writeSomewhere()
    {
        if (m_request.path != nullptr && write(m_request.path))
            return true;
        if (!makeTemporaryDumpPath(m_temporaryPath) || !write(m_temporaryPath.data()))
            return false;
        printTemporaryPath();
        return true;
    }

    // Under its name the file is complete or absent.
    bool write(const wchar_t* path)
    {
        if (!appendExtension(path, L".part", m_partPath))
            return false;
        const bool isWritten = writeFile(m_partPath.data()) &&
                               MoveFileExW(m_partPath.data(), path, MOVEFILE_REPLACE_EXISTING) != 0;
        if (!isWritten)
            DeleteFileW(m_partPath.data());
        return isWritten;
    }

    bool writeFile(const wchar_t* path)
    {
        const HANDLE file = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        const auto type =
            static_cast<MINIDUMP_TYPE>(MiniDumpNormal | MiniDumpWithThreadInfo | MiniDumpWithUnloadedModules);
        MINIDUMP_EXCEPTION_INFORMATION* const exception =
            m_request.exception.ExceptionPointers != nullptr ? &m_request.exception : nullptr;
        const bool isWritten = m_writer(GetCurrentProcess(), GetCurrentProcessId(), file, type, exception,
                                        nullptr, nullptr) != 0;
        return CloseHandle(file) != 0 && isWritten;
    }

    void printTemporaryPath()
    {
        if (boost::nowide::narrow(m_narrowPath.data(), m_narrowPath.size(), m_temporaryPath.data()) ==
            nullptr)
            return;
        printLine("[KVS_LOG] Crash dump written to ");
        printLine(m_narrowPath.data());
        printLine("\n");
    }

    std::mutex m_mutex; // guards the making of the thread
    HANDLE m_thread = nullptr;
    HANDLE m_asked = nullptr;
    HANDLE m_answered = nullptr;
    MiniDumpWriter m_writer = nullptr;
    std::atomic<bool> m_isBusy{false};
    Request m_request{};
    bool m_isWritten = false;
    PathBuffer m_temporaryPath{};
    PathBuffer m_partPath{};
    std::array<char, 3 * 32768> m_narrowPath{};
};

// Never destroyed: crashes happen during exit too.
DumpThread& dumpThread()
{
    static auto* const thread = new DumpThread;
    return *thread;
}

} // namespace

void prepareDumpThread()
{
    dumpThread().prepare();
}

bool dumpOnDumpThread(_EXCEPTION_POINTERS* exception, const wchar_t* path)
{
    prepareDumpThread();
    return dumpThread().run({{GetCurrentThreadId(), exception, FALSE}, path});
}

} // namespace Brennic::Minidump
