// A host that links the library and uses nothing of it. Its child leaves by exit(); ends with 0 if that came to an end.
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

#include <brn_mesh_kernel/kernel/Kernel.h>

#include "programs/Check.h"

namespace {

[[gnu::used]] Brennic::Core::Kernel& (*const needed)() = &Brennic::Core::Kernel::Instance;

} // namespace

int main()
{
    constexpr unsigned limitInSeconds = 20;
    const pid_t child = ::fork();
    CHECK(child >= 0);
    if (child == 0) {
        ::alarm(limitInSeconds);
        std::exit(7);
    }
    int status = -1;
    CHECK(::waitpid(child, &status, 0) == child);
    CHECK(WIFEXITED(status));
    CHECK(WEXITSTATUS(status) == 7);
    return 0;
}
