#include <brn_mesh_kernel/progress/Progress.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <exception>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include <QAbstractEventDispatcher>
#include <QTimer>

#include <brn_mesh_kernel/progress/ReportGate.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>

namespace Brennic::Core {

namespace {

using Range = std::numeric_limits<int>;

// A child without a total may report a fraction that is not a number, or far outside 0 to 1.
int toUnits(double units)
{
    return std::isnan(units) ? 0 : static_cast<int>(std::clamp<double>(units, Range::min(), Range::max()));
}

} // namespace

// The interface's defaults: ignore the report.
void ProgressReportingProtocol::progressUpdated(Progress*, float, const std::wstring&) {}

void ProgressReportingProtocol::progressCompleted(Progress*, const std::wstring&) {}

struct Progress::ProgressImpl
{
    struct State final : ProgressState // whose constructor is private
    {
        State(int totalUnitCount, const std::wstring& description)
            : ProgressState(totalUnitCount, description)
        {
        }
    };

    struct Child
    {
        std::shared_ptr<Progress> progress;
        const ProgressState::Part* part = nullptr; // null for what reports and was never added
        float fraction = 0.0F;                     // what was reported last
        std::int64_t moved = 0;                    // by how many units it has moved the count
    };

    class LateReport;

    // Reports until nothing was left out meanwhile that has to be told now. What a receiver throws leaves this function
    // then, the first of several exceptions: other threads have left their steps to this one.
    template <typename ToDelegate, typename BeginLateReport>
    static void reportWhileDue(const std::shared_ptr<ProgressState>& state, Progress* sender,
                               const ToDelegate& toDelegate, const BeginLateReport& beginLateReport);

    // Stores the count and reports it. movedByParts says how much of the change comes from a part's report,
    // and is not the work's own: a display takes it off (ProgressState::getFraction).
    void setCount(Progress& progress, int completedUnitCount, std::int64_t movedByParts = 0);
    int incrementInIntervals(Progress& progress, int unitCount);
    void changeByPart(Progress& progress, Child& part, int units);
    void afterStep(Progress& progress, EReportVerdict verdict);
    void report(Progress& progress, EReportVerdict verdict, bool reportsToDelegate);
    bool reportsToParent(Progress& progress) const;
    void reportRest(Progress& progress);
    void reportRestAtEnd(Progress& progress);

    std::shared_ptr<ProgressState> state;
    std::map<const Progress*, Child> children; // one null stands for all that no pointer owns
    bool keepsRemainders = false;
    std::atomic<const ProgressReportingProtocol*> parent{nullptr}; // for comparing only: it may have gone
};

// Reports from the GUI thread what an interval has left out, in case that no later step does.
class Progress::ProgressImpl::LateReport : public std::enable_shared_from_this<LateReport>
{
public:
    // Calls the delegate in the GUI thread; empty for a delegate of another.
    using ToDelegate = std::function<void(const ProgressState::Report&)>;

    // Does nothing if nobody would receive the report. The sender is for the delegate.
    static void begin(const std::shared_ptr<ProgressState>& state, Progress* sender, ToDelegate toDelegate)
    {
        if (!toDelegate && !state->isWatched())
            return;
        const auto report = std::make_shared<LateReport>(state, sender, std::move(toDelegate));
        dispatchAsync([report] { report->reportOrWait(); }, eQOS_GUI);
    }

    LateReport(std::shared_ptr<ProgressState> state, Progress* sender, ToDelegate toDelegate)
        : m_state(std::move(state)),
          m_sender(sender),
          m_toDelegate(std::move(toDelegate)),
          m_number(m_state->beginLateReport())
    {
    }
    ~LateReport() { m_state->dropLateReport(m_number); } // an application object may go with its timers
    LateReport(const LateReport&) = delete;
    LateReport& operator=(const LateReport&) = delete;

private:
    void reportOrWait()
    {
        EReportVerdict verdict = EReportVerdict::LeaveOut;
        const std::chrono::nanoseconds left = m_state->lateReport(m_number, bool(m_toDelegate), verdict);
        if (left > std::chrono::nanoseconds::zero())
            wait(left);
        else if (verdict == EReportVerdict::Report)
            report();
    }

    void wait(std::chrono::nanoseconds time)
    {
        QAbstractEventDispatcher* const context = QAbstractEventDispatcher::instance();
        if (context == nullptr)
            return;
        const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(time);
        auto* const timer = new QTimer(context);
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, timer, [timer, report = shared_from_this()] {
            timer->deleteLater();
            report->post();
        });
        timer->start(std::min<std::chrono::milliseconds>(rounded, std::chrono::hours(24)));
    }

    // Behind the reports that are posted: a timer is served whether they were or not.
    void post()
    {
        m_state->postLateReport();
        dispatchAsync([report = shared_from_this()] { report->reportOrWait(); }, eQOS_GUI);
    }

    void report()
    {
        if (!m_toDelegate) {
            m_state->notifyWatchers(nullptr);
            return;
        }
        reportWhileDue(
            m_state, nullptr,
            [this](ProgressState::Report now) {
                now.progress = m_sender;
                m_toDelegate(now);
            },
            [this] { begin(m_state, m_sender, m_toDelegate); });
    }

    const std::shared_ptr<ProgressState> m_state;
    Progress* const m_sender;
    const ToDelegate m_toDelegate;
    const std::uint64_t m_number;
};

void Progress::ProgressImpl::setCount(Progress& progress, int completedUnitCount, std::int64_t movedByParts)
{
    if (state->hasReportInterval()) {
        afterStep(progress, state->setCompletedUnitCountInIntervals(completedUnitCount, movedByParts));
        return;
    }
    state->setCompletedUnitCount(completedUnitCount, movedByParts);
    std::shared_ptr<Progress> self;
    if (state->isWatched()) {
        self = progress.shared_from_this(); // a watcher may release the last other pointer,
        const std::shared_ptr<ProgressState> kept = state;
        kept->notifyWatchers(&progress);
        if (kept->hasEnded()) // or destroy what it owns alone
            return;
    }
    // To the delegate: Broadcaster.h calls the report (ProgressState::Report::operator()) with it, here or in
    // the GUI thread. If the delegate is a parent, that is Progress::progressUpdated below.
    progress.notifyObservers(state->report(&progress));
}

// Returns the count that it has stored: another thread may have gone on since.
int Progress::ProgressImpl::incrementInIntervals(Progress& progress, int unitCount)
{
    int count = 0;
    const EReportVerdict verdict = state->incrementInIntervals(unitCount, count);
    afterStep(progress, verdict);
    return count;
}

// The part's entry is changed before receivers are called: they may step the part.
void Progress::ProgressImpl::changeByPart(Progress& progress, Child& part, int units)
{
    if (state->hasReportInterval()) {
        int after = 0;
        const EReportVerdict verdict = state->incrementInIntervals(units, after, &part.moved);
        afterStep(progress, verdict);
        return;
    }
    const int before = state->getCompletedUnitCount();
    const int after = ProgressState::saturatedSum(before, units);
    const std::int64_t moved = std::int64_t{after} - before;
    part.moved += moved;
    setCount(progress, after, moved);
}

// What a step of a part changes in its parent is not a matter of the interval.
void Progress::ProgressImpl::afterStep(Progress& progress, EReportVerdict verdict)
{
    if (verdict == EReportVerdict::LeaveOut && parent.load(std::memory_order_relaxed) == nullptr)
        return;
    const bool isPart = reportsToParent(progress);
    if (verdict != EReportVerdict::LeaveOut) {
        const std::shared_ptr<Progress> self = progress.shared_from_this(); // a receiver may release it
        const std::shared_ptr<ProgressState> kept = state;
        report(progress, verdict, !isPart);
        if (isPart && !kept->hasEnded())
            progress.notifyObservers(kept->report(&progress));
    } else if (isPart) {
        progress.notifyObservers(state->report(&progress));
    }
}

void Progress::ProgressImpl::report(Progress& progress, EReportVerdict verdict, bool reportsToDelegate)
{
    const std::shared_ptr<ProgressState> kept = state;
    const auto beginLateReport = [&] {
        LateReport::begin(kept, &progress, progress.guiNotifier<ProgressState::Report>());
    };
    if (verdict == EReportVerdict::LeaveOutFirst)
        beginLateReport();
    if (verdict != EReportVerdict::Report)
        return;
    const auto toDelegate = [&](const ProgressState::Report& now) {
        if (reportsToDelegate)
            progress.notifyObservers(now);
    };
    reportWhileDue(kept, &progress, toDelegate, beginLateReport);
}

template <typename ToDelegate, typename BeginLateReport>
void Progress::ProgressImpl::reportWhileDue(const std::shared_ptr<ProgressState>& state, Progress* sender,
                                            const ToDelegate& toDelegate,
                                            const BeginLateReport& beginLateReport)
{
    // A watcher may destroy a progress that no pointer owns.
    const auto hasGone = [&] { return sender != nullptr && state->hasEnded(); };
    std::exception_ptr first;
    EReportVerdict verdict = EReportVerdict::Report;
    while (verdict == EReportVerdict::Report) {
        try {
            ReportReceivers receivers{};
            const ProgressState::Report now = state->reportInIntervals(sender, receivers);
            if (receivers.watchers)
                state->notifyWatchers(now);
            if (receivers.delegate && !hasGone())
                toDelegate(now);
        } catch (...) {
            first = first ? first : std::current_exception();
        }
        verdict = state->endReport();
        if (hasGone())
            verdict = EReportVerdict::LeaveOut;
    }
    if (verdict == EReportVerdict::LeaveOutFirst)
        beginLateReport();
    if (first)
        std::rethrow_exception(first);
}

// A host may have given a part another delegate than its parent.
bool Progress::ProgressImpl::reportsToParent(Progress& progress) const
{
    const ProgressReportingProtocol* const whole = parent;
    return whole != nullptr && progress.getDelegate() == whole;
}

void Progress::ProgressImpl::reportRest(Progress& progress)
{
    const std::shared_ptr<Progress> self = progress.shared_from_this(); // a receiver may release it
    report(progress, state->flushReports(), !reportsToParent(progress));
}

// Watchers are notified of the end anyway.
void Progress::ProgressImpl::reportRestAtEnd(Progress& progress)
{
    if (!state->closeReports() || reportsToParent(progress))
        return;
    try {
        progress.notifyObservers(state->report(&progress));
    } catch (...) { // NOLINT(bugprone-empty-catch): exceptions must not leave a destructor
    }
}

Progress::Progress(int totalUnitCount, const std::wstring& description)
    : m_impl(std::make_unique<ProgressImpl>())
{
    m_impl->state = std::make_shared<ProgressImpl::State>(totalUnitCount, description);
}

Progress::~Progress()
{
    m_impl->reportRestAtEnd(*this);
    m_impl->state->end(this);
}

void Progress::setTotalUnitCount(int totalUnitCount)
{
    m_impl->state->setTotalUnitCount(totalUnitCount);
    m_impl->state->notifyWatchers(this);
}

int Progress::getTotalUnitCount() const
{
    return m_impl->state->getTotalUnitCount();
}

void Progress::setCompletedUnitCount(int completedUnitCount)
{
    m_impl->setCount(*this, completedUnitCount);
}

int Progress::getCompletedUnitCount()
{
    return m_impl->state->getCompletedUnitCount();
}

// Where each step is reported, it is not atomic by design: callers that count from several threads serialize their increments.
void Progress::incrementCompletedUnitCount(int unitCount)
{
    if (m_impl->state->hasReportInterval())
        m_impl->incrementInIntervals(*this, unitCount);
    else
        setCompletedUnitCount(ProgressState::saturatedSum(getCompletedUnitCount(), unitCount));
}

int Progress::operator++()
{
    return *this += 1;
}

int Progress::operator+=(int unitCount)
{
    if (m_impl->state->hasReportInterval())
        return m_impl->incrementInIntervals(*this, unitCount);
    const std::shared_ptr<ProgressState> state = m_impl->state; // a receiver may release this object
    incrementCompletedUnitCount(unitCount);
    return state->getCompletedUnitCount();
}

float Progress::getFractionCompleted()
{
    return static_cast<float>(getCompletedUnitCount()) / static_cast<float>(getTotalUnitCount());
}

bool Progress::isIndeterminateProgress() const
{
    return getTotalUnitCount() <= 0;
}

bool Progress::isComplete()
{
    return getCompletedUnitCount() >= getTotalUnitCount();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the caller's pointer may be the child's only owner.
void Progress::addChildWithPendingCount(std::shared_ptr<Progress> child, int pendingUnitCount)
{
    if (!child || m_impl->children.count(child.get()) != 0)
        return;
    const ProgressState::Part* const part = m_impl->state->addPart(child->getState(), pendingUnitCount);
    if (part == nullptr)
        return;
    // A child that its pointer does not own cannot name itself in reports, so its reports change nothing.
    const bool isOwned = child->shared_from_this() != nullptr;
    m_impl->children[child.get()] = {child, isOwned ? part : nullptr};
    const std::shared_ptr<ProgressReportingProtocol> self = shared_from_this();
    child->setDelegate(self, false);
    child->m_impl->parent = self.get();
    // A cancellation that has not seen the new part is seen here.
    if (isCancelled())
        child->cancel();
    m_impl->state->notifyWatchers(this);
}

void Progress::setKeepsRemainders(bool keepsRemainders)
{
    m_impl->keepsRemainders = keepsRemainders;
}

void Progress::setReportInterval(std::chrono::milliseconds interval)
{
    const std::chrono::milliseconds longest = std::chrono::hours(24 * 365);
    m_impl->state->setReportInterval(std::clamp(interval, std::chrono::milliseconds::zero(), longest));
    m_impl->reportRest(*this);
}

void Progress::cancel()
{
    const std::shared_ptr<ProgressState> state = m_impl->state; // a handler may release this object
    state->cancel();
}

bool Progress::isCancelled() const
{
    return m_impl->state->isCancelled();
}

void Progress::setCancelHandler(std::function<void()> handler)
{
    const std::shared_ptr<ProgressState> state = m_impl->state; // the handler may release this object
    state->setCancelHandler(std::move(handler));
}

void Progress::fail(const std::wstring& text)
{
    const std::shared_ptr<ProgressState> state = m_impl->state; // a receiver may release this object
    state->fail(text);
    m_impl->reportRest(*this);
    if (!state->hasEnded())
        state->notifyWatchers(this);
}

void Progress::setDescription(const std::wstring& description)
{
    m_impl->state->setDescription(description);
    m_impl->state->notifyWatchers(this);
}

std::wstring Progress::getDescription() const
{
    return m_impl->state->getDescription();
}

std::shared_ptr<ProgressState> Progress::getState() const
{
    return m_impl->state;
}

// A child reports to its parent, this object. Converts the change of the child's fraction into units of the
// parent, and reports on from there.
void Progress::progressUpdated(Progress* child, float fraction, const std::wstring&)
{
    auto entry = m_impl->children.find(child);
    if (entry == m_impl->children.end()) { // never added, or known by no pointer: it stands for no units
        std::shared_ptr<Progress> stranger = child->shared_from_this();
        entry = m_impl->children.try_emplace(stranger.get()).first;
        entry->second.progress = std::move(stranger);
    }
    ProgressImpl::Child& known = entry->second;
    const int units = known.part == nullptr ? 0 : known.part->pendingUnitCount;
    // Without keepsRemainders the change alone is truncated, in single precision, and its remainder is lost:
    // hosts rely on the counts that come out.
    const double change =
        m_impl->keepsRemainders
            ? std::trunc(static_cast<double>(fraction) * units) - static_cast<double>(known.moved)
            : static_cast<double>((fraction - known.fraction) * static_cast<float>(units));
    known.fraction = fraction;
    m_impl->changeByPart(*this, known, toUnits(change));
    // Takes the count's lock once more: what another thread was storing at this moment is stored when this
    // returns.
    static_cast<void>(getCompletedUnitCount());
}

void Progress::progressCompleted(Progress* child, const std::wstring& description)
{
    progressUpdated(child, 1.0F, description);
}

} // namespace Brennic::Core

template class Brennic::Objects::SharedObject<Brennic::Core::Progress>;
template class Brennic::Core::Broadcaster<Brennic::Core::ProgressReportingProtocol>;
template class Brennic::Core::Delegator<Brennic::Core::ProgressReportingProtocol>;
