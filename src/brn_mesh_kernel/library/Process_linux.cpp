#include <brn_mesh_kernel/library/Process.h>

#include <cstdlib>

#include <pthread.h>
#include <sched.h>

namespace Brennic::Core {

void callAtExit(void (*function)())
{
    const int failure = std::atexit(function);
    static_cast<void>(failure); // out of memory: the library's destructor detaches as well
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
