#include <brn_mesh_common/minidump/SignalAction_linux.h>

asm(".pushsection .text\n"
    ".globl brnReturnFromSignal\n"
    ".hidden brnReturnFromSignal\n"
    ".type brnReturnFromSignal, @function\n"
    "brnReturnFromSignal:\n\t"
    "mov $15, %eax\n\t" // rt_sigreturn
    "syscall\n"
    ".size brnReturnFromSignal, . - brnReturnFromSignal\n"
    ".popsection");
