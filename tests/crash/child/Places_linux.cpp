#include "crash/child/PlatformPlaces.h"

#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace Brennic::Testing {

namespace {

// The parent's exit code is the signal that its child died of.
void inForkedChild(const Function& function)
{
    const pid_t child = fork();
    if (child == 0)
        function();
    int status = 0;
    waitpid(child, &status, 0);
    std::exit(WIFSIGNALED(status) ? WTERMSIG(status) : 100 + WEXITSTATUS(status));
}

} // namespace

const Places& platformPlaces()
{
    static const Places table{{"fork", inForkedChild}};
    return table;
}

} // namespace Brennic::Testing
