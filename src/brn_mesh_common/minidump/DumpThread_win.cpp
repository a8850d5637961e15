#include <brn_mesh_common/minidump/DumpThread_win.h>

#include <atomic>
#include <mutex>
#include <string>

#include <boost/nowide/convert.hpp>

#include <brn_mesh_common/WinUtil.h>
#include <brn_mesh_common/minidump/AtomicFile_win.h>
#include <brn_mesh_common/minidump/DumpPath_win.h>
#include <brn_mesh_common/minidump/ShallowWait_win.h>

#include <windows.h>

#include <dbghelp.h>

namespace Brennic::Minidump {

namespace {

// Milliseconds. The system needs one for a few threads; a busy machine and Wine need seconds.
constexpr DWORD timeStandingStill = 10'000;
constexpr DWORD mostTime = 60'000;

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
        if (!claim()) {
            printLine("[KVS_LOG] No crash dump: the one before hangs\n");
            return false;
        }
        m_request = request;
        ResetEvent(m_answered);
        SetEvent(m_asked);
        if (!waitForAnswer() && abandon()) {
            printLine("[KVS_LOG] No crash dump: not finished in time\n");
            return false;
        }
        const bool isWritten = m_isWritten;
        m_state = State::Idle;
        if (!isWritten)
            printLine("[KVS_LOG] No crash dump: it could not be written\n");
        return isWritten;
    }

private:
    enum class State
    {
        Idle,
        Busy,      ///< a thread waits for a dump
        Abandoned, ///< the waiting thread has given up; should the writer return, it becomes idle
    };

    // Of two calls at once the second waits for the first, unless the first has given up on a writer that hangs.
    bool claim()
    {
        for (State state = State::Idle; !m_state.compare_exchange_strong(state, State::Busy);
             state = State::Idle) {
            if (state == State::Abandoned)
                return false;
            Sleep(1);
        }
        return true;
    }

    // The writer suspends this thread too, so elapsed time alone would not show that the writer hangs.
    bool waitForAnswer()
    {
        StandstillWatch watch(m_thread, timeStandingStill, mostTime);
        while (!waitWithLittleStack(m_answered, timeBetweenLooks)) {
            if (watch.isOver(m_file.size()))
                return false;
        }
        return true;
    }

    // Ignores an answer that comes at this moment.
    bool abandon()
    {
        State busy = State::Busy;
        return m_state.compare_exchange_strong(busy, State::Abandoned);
    }

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
            State abandoned = State::Abandoned;
            if (!m_state.compare_exchange_strong(abandoned, State::Idle))
                SetEvent(m_answered);
        }
    }

    bool writeSomewhere()
    {
        if (m_request.path != nullptr && write(m_request.path) && m_file.publish())
            return true;
        if (!writeToTemporaryFile())
            return false;
        printTemporaryPath();
        return true;
    }

    bool writeToTemporaryFile()
    {
        constexpr int mostAttempts = 10;
        for (int attempt = 0; attempt != mostAttempts; ++attempt) {
            if (!makeTemporaryDumpPath(m_temporaryPath) || !write(m_temporaryPath.data()))
                return false;
            if (m_file.publishAsNew())
                return true;
        }
        return false;
    }

    bool write(const wchar_t* path)
    {
        const bool isWritten = m_file.create(path) && writeFile();
        if (!isWritten)
            m_file.discard();
        return isWritten;
    }

    bool writeFile()
    {
        const auto type =
            static_cast<MINIDUMP_TYPE>(MiniDumpNormal | MiniDumpWithThreadInfo | MiniDumpWithUnloadedModules);
        MINIDUMP_EXCEPTION_INFORMATION* const exception =
            m_request.exception.ExceptionPointers != nullptr ? &m_request.exception : nullptr;
        return m_writer(GetCurrentProcess(), GetCurrentProcessId(), m_file.handle(), type, exception, nullptr,
                        nullptr) != 0;
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
    std::atomic<State> m_state{State::Idle};
    Request m_request{};
    bool m_isWritten = false;
    PathBuffer m_temporaryPath{};
    AtomicFile m_file;
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

} // namespace Brennic::Minidump

namespace Brennic::WinUtil {

bool DumpMiniDump(_EXCEPTION_POINTERS* exception, const wchar_t* path)
{
    Minidump::prepareDumpThread();
    return Minidump::dumpThread().run({{GetCurrentThreadId(), exception, FALSE}, path});
}

} // namespace Brennic::WinUtil
