/// \file
/// The end of a loop, in every interleaving: two helpers come while the caller leaves. A helper that has
/// entered finds what belongs to the caller, one that comes late is turned away, and the caller leaves when
/// nobody is inside.
///
/// Usage: loop_gate_model Searches all interleavings. Exits with 0 if no fault was found, else prints the
/// steps that lead to one and exits with 1.

#include <brn_mesh_kernel/tasks/LoopGate.h>

#include <relacy/relacy.hpp>
#undef assert
#undef delete
#undef new

namespace {

struct Platform
{
    class Word
    {
    public:
        explicit Word(unsigned value) : m_value(value) {}
        unsigned load() const { return m_value.load(rl::mo_seq_cst, RL_INFO); }
        bool compareExchange(unsigned& expected, unsigned value)
        {
            return m_value.compare_exchange_weak(expected, value, rl::mo_seq_cst, RL_INFO);
        }
        unsigned fetchAdd(unsigned value) { return m_value.fetch_add(value, rl::mo_seq_cst, RL_INFO); }
        unsigned fetchSub(unsigned value) { return m_value.fetch_sub(value, rl::mo_seq_cst, RL_INFO); }
        // For a planted fault.
        unsigned fetchSubRelaxed(unsigned value) { return m_value.fetch_sub(value, rl::mo_relaxed, RL_INFO); }

    private:
        rl::atomic<unsigned> m_value;
    };

    class Mutex
    {
    public:
        void lock() { m_mutex.lock(RL_INFO); }
        void unlock() { m_mutex.unlock(RL_INFO); }

    private:
        friend struct Platform;
        rl::mutex m_mutex;
    };

    class Condition
    {
    public:
        void wait(std::unique_lock<Mutex>& lock) { m_condition.wait(lock.mutex()->m_mutex, RL_INFO); }
        void notifyAll() { m_condition.notify_all(RL_INFO); }

    private:
        rl::condition_variable_any m_condition;
    };
};

constexpr int helpers = 2;

struct LoopGateModel : rl::test_suite<LoopGateModel, 1 + helpers>
{
    void before()
    {
        m_body(RL_INFO).store(1);
        for (auto& result : m_results)
            result(RL_INFO).store(0);
        m_entered.store(0, rl::mo_relaxed, RL_INFO);
    }

    void thread(unsigned index)
    {
        if (index == 0)
            call();
        else
            help(index - 1);
    }

    void after() { RL_ASSERT(m_sum == m_entered.load(rl::mo_relaxed, RL_INFO)); }

private:
    // The caller does its own part, and takes back what it has lent.
    void call()
    {
        m_gate.close();
        m_gate.wait();
        RL_ASSERT(m_gate.isEmpty());
        m_body(RL_INFO).store(0);
        m_sum = 0;
        for (auto& result : m_results)
            m_sum += result(RL_INFO).load();
    }

    void help(unsigned helper)
    {
        if (!m_gate.enter())
            return;
        RL_ASSERT(m_body(RL_INFO).load() == 1);
        m_entered.fetch_add(1, rl::mo_relaxed, RL_INFO);
        m_results[helper](RL_INFO).store(1);
        m_gate.leave();
    }

    Brennic::Core::LoopGate<Platform> m_gate;
    rl::var<int> m_body;
    rl::var<int> m_results[helpers];
    rl::atomic<int> m_entered;
    int m_sum = 0;
};

} // namespace

int main()
{
    rl::test_params params;
    params.search_type = rl::sched_full;
    return rl::simulate<LoopGateModel>(params) ? 0 : 1;
}
