#include "crash/child/Sandbox_linux.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Brennic::Testing {

namespace {

sock_filter statement(int code, unsigned value)
{
    return {static_cast<unsigned short>(code), 0, 0, value};
}

// Skips the next instruction unless what has been loaded has the value.
sock_filter unlessEqualSkipOne(unsigned value)
{
    return {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, value};
}

void install(std::vector<sock_filter> program)
{
    program.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    const bool isInstalled = prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                             prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) == 0;
    if (!isInstalled)
        std::_Exit(90);
}

} // namespace

void answerCallsWith(std::initializer_list<int> calls, Answer answer)
{
    const unsigned result = answer == Answer::Error ? SECCOMP_RET_ERRNO | EPERM : SECCOMP_RET_TRAP;
    std::vector<sock_filter> program{statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const int call : calls) {
        program.push_back(unlessEqualSkipOne(static_cast<unsigned>(call)));
        program.push_back(statement(BPF_RET | BPF_K, result));
    }
    install(program);
}

void refuseNewProcesses()
{
    install({
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        {BPF_JMP | BPF_JEQ | BPF_K, 0, 4, SYS_clone},
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
        {BPF_JMP | BPF_JSET | BPF_K, 1, 0, CLONE_THREAD},
        statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN),
        statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    });
}

void letSupervisorAnswerCalls()
{
    const char* const socketText = std::getenv("BRN_SUPERVISOR");
    const int socket = socketText != nullptr ? std::atoi(socketText) : -1;
    // But for the one that sends the supervisor what it needs to answer.
    const std::array<sock_filter, 4> program{
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        unlessEqualSkipOne(SYS_sendmsg),
        statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        statement(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
    };
    const sock_fprog filter{program.size(), const_cast<sock_filter*>(program.data())};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const int listener = static_cast<int>(
        syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &listener, sizeof listener);
    if (listener < 0 || sendmsg(socket, &message, 0) != 1)
        std::_Exit(90);
}

void markForSupervisor()
{
    constexpr long nobodysPersonality = 0xffffffff;
    syscall(SYS_personality, nobodysPersonality);
}

} // namespace Brennic::Testing
