#include <brn_mesh_kernel/library/ThreadName.h>

#include <pthread.h>

namespace Brennic::Core {

void nameCurrentThread(const std::string& name)
{
    pthread_setname_np(pthread_self(), name.c_str());
}

} // namespace Brennic::Core
