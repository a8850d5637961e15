#include "faults/Supervisor.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Brennic::Testing {

namespace {

constexpr int looksInMilliseconds = 50;

int receiveDescriptor(int socket)
{
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const bool isReceived = recvmsg(socket, &message, MSG_CMSG_CLOEXEC) == 1;
    const cmsghdr* const header = isReceived ? CMSG_FIRSTHDR(&message) : nullptr;
    int descriptor = -1;
    if (header != nullptr)
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
}

pid_t processOf(pid_t thread)
{
    std::ifstream status("/proc/" + std::to_string(thread) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, 6, "Tgid:\t") == 0)
            return std::atoi(line.c_str() + 6);
    }
    return 0;
}

// Carries out half of a write in the place of the one who asks. \return how much was written, or -errno.
long writeHalf(const seccomp_notif& asked)
{
    const auto size = static_cast<std::size_t>((asked.data.args[2] + 1) / 2);
    const auto thread = static_cast<pid_t>(asked.pid);
    const int memory = open(("/proc/" + std::to_string(thread) + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
    const int process = static_cast<int>(syscall(SYS_pidfd_open, processOf(thread), 0));
    const int file =
        static_cast<int>(syscall(SYS_pidfd_getfd, process, static_cast<int>(asked.data.args[0]), 0));
    std::vector<char> bytes(size);
    long result = pread(memory, bytes.data(), size, static_cast<off_t>(asked.data.args[1]));
    if (result > 0)
        result = asked.data.nr == SYS_pwrite64 ? pwrite(file, bytes.data(), static_cast<std::size_t>(result),
                                                        static_cast<off_t>(asked.data.args[3]))
                                               : write(file, bytes.data(), static_cast<std::size_t>(result));
    const long error = -errno;
    for (const int descriptor : {memory, process, file})
        close(descriptor);
    return result < 0 ? error : result;
}

class Supervisor
{
public:
    Supervisor(int listener, const std::optional<Fault>& fault, SupervisedEnd& result)
        : m_listener(listener), m_fault(fault), m_result(result)
    {
    }
    ~Supervisor() { close(m_listener); }
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    // Answers one call, or waits a little for one.
    void answer()
    {
        pollfd listener{m_listener, POLLIN, 0};
        if (poll(&listener, 1, looksInMilliseconds) != 1 || (listener.revents & POLLIN) == 0)
            return;
        seccomp_notif asked{};
        if (ioctl(m_listener, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0)
            return; // it was interrupted, and asks again
        seccomp_notif_resp response{};
        response.id = asked.id;
        response.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
        if (isFaulty(asked.data))
            fail(asked, response);
        ioctl(m_listener, SECCOMP_IOCTL_NOTIF_SEND, &response);
    }

private:
    bool isFaulty(const seccomp_data& data)
    {
        constexpr unsigned long nobodysPersonality = 0xffffffff;
        if (data.nr == SYS_personality && data.args[0] == nobodysPersonality)
            m_isMarked = true;
        if (!m_isMarked)
            return false;
        const unsigned time = ++m_result.calls[data.nr];
        return m_fault && m_fault->call == data.nr && (m_fault->time == 0 || m_fault->time == time);
    }

    void fail(const seccomp_notif& asked, seccomp_notif_resp& response)
    {
        ++m_result.faults;
        response.flags = 0;
        const long result = m_fault->error == 0 ? writeHalf(asked) : -m_fault->error;
        response.val = result < 0 ? 0 : result;
        response.error = result < 0 ? static_cast<int>(result) : 0;
    }

    int m_listener;
    const std::optional<Fault>& m_fault;
    SupervisedEnd& m_result;
    bool m_isMarked = false;
};

} // namespace

SupervisedEnd runSupervised(const std::filesystem::path& directory, const std::vector<std::string>& arguments,
                            const std::optional<Fault>& fault)
{
    SupervisedEnd result;
    std::array<int, 2> sockets{};
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()) != 0)
        return result;
    setenv("BRN_SUPERVISOR", std::to_string(sockets[1]).c_str(), 1);
    ChildProcess child(BRN_CRASH_CHILD, arguments, directory);
    close(sockets[1]);
    const int listener = receiveDescriptor(sockets[0]);
    close(sockets[0]);
    result.isSupervised = listener >= 0;
    if (result.isSupervised) {
        Supervisor supervisor(listener, fault, result);
        while (child.isRunning() && !child.isOverdue())
            supervisor.answer();
    }
    result.end = child.wait();
    return result;
}

} // namespace Brennic::Testing
