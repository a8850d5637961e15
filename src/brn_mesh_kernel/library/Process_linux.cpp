#include <brn_mesh_kernel/library/Process.h>

#include <system_error>
#include <thread>

#include <cxxabi.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

// This library's, as the compiler hands it over with the destructors of static objects.
extern "C" [[gnu::visibility("hidden")]] void* __dso_handle; // NOLINT(*-reserved-identifier)

namespace Brennic::Core {

void callAtExit(void (*function)())
{
    // Not std::atexit(): under ThreadSanitizer it does not tell which library registers, and what is registered while
    // libraries are loaded is then called after they all have ended.
    const auto call = [](void* registered) { reinterpret_cast<void (*)()>(registered)(); };
    const int failure = abi::__cxa_atexit(call, reinterpret_cast<void*>(function), &__dso_handle);
    static_cast<void>(failure); // out of memory: the library's destructor detaches as well
}

bool startThread(void (*function)())
{
    try {
        std::thread(function).detach();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

ThreadEnd::ThreadEnd() : m_thread(syscall(SYS_gettid)) {}

ThreadEnd::~ThreadEnd() = default;

bool ThreadEnd::hasCome() const
{
    return m_thread == syscall(SYS_gettid) || syscall(SYS_tgkill, getpid(), m_thread, 0) != 0;
}

void nameCurrentThread(const std::string& name)
{
    pthread_setname_np(pthread_self(), name.c_str());
}

int currentCore()
{
    return sched_getcpu();
}

} // namespace Brennic::Core
