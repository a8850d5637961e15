#include <brn_mesh_kernel/library/CurrentThread.h>

#include <pthread.h>
#include <sched.h>

namespace Brennic::Core {

void nameCurrentThread(const std::string& name)
{
    pthread_setname_np(pthread_self(), name.c_str());
}

int currentCore()
{
    return sched_getcpu();
}

} // namespace Brennic::Core
