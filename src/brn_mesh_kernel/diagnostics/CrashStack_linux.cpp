#include <brn_mesh_kernel/diagnostics/CrashStack.h>

#include <brn_mesh_kernel/diagnostics/CrashSignals_linux.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Brennic::Core {

namespace {

// Far more than our own handler needs: the host's crash handler may show a window.
constexpr std::size_t workSize = 1024UL * 1024;

std::size_t pageSize()
{
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

// Adds room for the signal frame with the registers, which is larger on newer processors.
std::size_t stackSize()
{
    const std::size_t frame = static_cast<std::size_t>(sysconf(_SC_MINSIGSTKSZ));
    return (workSize + frame + pageSize() - 1) / pageSize() * pageSize();
}

} // namespace

class CrashStack::Impl
{
public:
    Impl()
    {
        // A fault whose signal is blocked ends the process at once, without calling any handler.
        crashSignalMask().apply(SIG_UNBLOCK);
        // The host may have given the thread a second stack; one that is large enough serves our handler too.
        const bool isKnown = sigaltstack(nullptr, &m_before) == 0;
        const bool hasOne = isKnown && (m_before.ss_flags & SS_DISABLE) == 0 && m_before.ss_size >= workSize;
        m_isInstalled = hasOne || install();
    }

    ~Impl()
    {
        if (m_memory == nullptr)
            return;
        sigaltstack(&m_before, nullptr); // before the memory goes: a crash in between still has a stack
        munmap(m_memory, m_size);
    }

    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    bool isInstalled() const { return m_isInstalled; }

private:
    bool install()
    {
        const std::size_t guard = pageSize();
        m_size = guard + stackSize();
        // The pages are only used in a crash, so they are not reserved in memory or swap.
        void* const memory =
            mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED)
            return false;
        m_memory = memory;
        mprotect(memory, guard, PROT_NONE); // stacks grow downwards
        stack_t stack{};
        stack.ss_sp = static_cast<char*>(memory) + guard;
        stack.ss_size = m_size - guard;
        return sigaltstack(&stack, nullptr) == 0;
    }

    stack_t m_before{};
    void* m_memory = nullptr;
    std::size_t m_size = 0;
    bool m_isInstalled = false;
};

CrashStack::CrashStack() : m_impl(std::make_unique<Impl>()) {}

CrashStack::~CrashStack() = default;

bool CrashStack::isInstalled() const
{
    return m_impl->isInstalled();
}

} // namespace Brennic::Core
