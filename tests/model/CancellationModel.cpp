/// \file
/// Two threads cancel work while a third one sets the handler. In every interleaving the handler is called
/// once, and reads what the third thread wrote before it set it.
///
/// Usage: cancellation_model Searches all interleavings. Exits with 0 if no fault was found, else prints the
/// steps that lead to one and exits with 1.

#include <brn_mesh_kernel/progress/Cancellation.h>

#include <relacy/relacy.hpp>
#undef assert
#undef delete
#undef new

namespace {

struct Platform
{
    class Mutex
    {
    public:
        void lock() { m_mutex.lock(RL_INFO); }
        void unlock() { m_mutex.unlock(RL_INFO); }

    private:
        rl::mutex m_mutex;
    };

    class Flag
    {
    public:
        explicit Flag(bool value) : m_value(value) {}
        bool load() const { return m_value.load(rl::mo_seq_cst, RL_INFO); }
        void store(bool value) { m_value.store(value, rl::mo_seq_cst, RL_INFO); }

    private:
        rl::atomic<bool> m_value;
    };

    using Handler = int; // 0: there is none
};

struct CancellationModel : rl::test_suite<CancellationModel, 3>
{
    void before()
    {
        m_reads(RL_INFO).store(0);
        m_calls.store(0, rl::mo_relaxed, RL_INFO);
    }

    void thread(unsigned index)
    {
        int handler = 0;
        if (index == 0) {
            m_reads(RL_INFO).store(1);
            handler = 1;
            if (!m_cancellation.setHandler(handler))
                call(handler);
        } else if (m_cancellation.cancel(handler)) {
            RL_ASSERT(m_cancellation.isCancelled());
            call(handler);
        }
    }

    void after()
    {
        RL_ASSERT(m_cancellation.isCancelled());
        RL_ASSERT(m_calls.load(rl::mo_relaxed, RL_INFO) == 1);
    }

private:
    void call(int handler)
    {
        if (handler == 0)
            return;
        RL_ASSERT(m_reads(RL_INFO).load() == 1);
        m_calls.fetch_add(1, rl::mo_relaxed, RL_INFO);
    }

    Brennic::Core::Cancellation<Platform> m_cancellation;
    rl::var<int> m_reads;
    rl::atomic<int> m_calls;
};

} // namespace

int main()
{
    rl::test_params params;
    params.search_type = rl::sched_full;
    return rl::simulate<CancellationModel>(params) ? 0 : 1;
}
