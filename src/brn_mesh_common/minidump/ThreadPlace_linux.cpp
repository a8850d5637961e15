#include <brn_mesh_common/minidump/ThreadPlace_linux.h>

#include <brn_mesh_common/minidump/MachineRecords_linux.h>
#include <brn_mesh_common/minidump/MemoryMap_linux.h>
#include <brn_mesh_common/minidump/ProcFile_linux.h>

namespace Brennic::Minidump {

void findCrash(CapturedThread& thread)
{
    ucontext_t interrupted{};
    if (thread.context.rdi == crashedMark && readMemory(thread.context.rsi, interrupted))
        thread.context = toContext(interrupted);
}

void findWaitingPlace(std::int32_t process, CapturedThread& thread)
{
    if (thread.hasRegisters)
        return;
    const WaitingPlace place = readWaitingPlace(process, thread.id);
    if (thread.hasRegisters) // it has recorded them meanwhile
        return;
    thread.hasRegisters = place.stackPointer != 0;
    thread.context.flags = contextAmd64Full;
    thread.context.rsp = place.stackPointer;
    thread.context.rip = place.instruction;
}

} // namespace Brennic::Minidump
