/// \file
/// A thread of the host that overflows its stack, and leaves a dump all the same: crash_stack.dmp in the working
/// directory.

#include <cstdlib>
#include <thread>

#include <brn_mesh_kernel/diagnostics/CrashStack.h>
#include <brn_mesh_kernel/kernel/Kernel.h>

volatile bool isFineEnough = false;

int refine(int depth)
{
    volatile char mesh[1024] = {};
    const int finer = isFineEnough ? 0 : refine(depth + 1); // it never is
    return finer + mesh[0];
}

void solve()
{
    const Brennic::Core::CrashStack crashStack; // first of all
    refine(0);
}

int main()
{
    Brennic::Core::Kernel::Instance().Initialize();
    std::thread(solve).join();
    return EXIT_SUCCESS;
}
