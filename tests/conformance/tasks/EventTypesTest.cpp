// What a host's application object sees of the library's events, and the workers that it can find there.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include "support/HostObjects.h"
#include "support/TaskFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;

namespace {

/// Writes down what is delivered to whom, in whatever thread: the filters of an application object see the GUI
/// thread only.
class RecordingApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (event->type() >= QEvent::User)
                m_types.insert(event->type());
            if (isWorker(*receiver) && !isKnown(receiver))
                m_workers.emplace_back(receiver);
        }
        return QCoreApplication::notify(receiver, event);
    }

    /// The types beyond Qt's own.
    std::set<int> types() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_types;
    }

    /// The worker whose thread calls, of those that have been sent an event.
    QObject* workerHere() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found =
            std::find_if(m_workers.begin(), m_workers.end(), [](const QPointer<QObject>& worker) {
                return worker != nullptr && worker->thread() == QThread::currentThread();
            });
        return found == m_workers.end() ? nullptr : found->data();
    }

private:
    static bool isWorker(const QObject& object)
    {
        return std::strcmp(object.metaObject()->className(), "Brennic::Core::TaskWorker") == 0;
    }

    bool isKnown(const QObject* worker) const
    {
        return std::find(m_workers.begin(), m_workers.end(), worker) != m_workers.end();
    }

    mutable std::mutex m_mutex;
    std::set<int> m_types;
    std::vector<QPointer<QObject>> m_workers; // also of those that have gone
};

/// Never destroyed: a worker may be in its functions.
RecordingApplication& makeRecordingApplication()
{
    static int count = 1;
    static char name[] = "test";
    static char* arguments[] = {name, nullptr};
    static auto* const application = new RecordingApplication(count, arguments);
    return *application;
}

/// Posts an event of \p type to the object in the thread of \p worker, and waits until it has come.
bool postToWorker(const HostObjects& threads, int worker, QEvent::Type type)
{
    const auto come = std::make_shared<Latch>();
    QCoreApplication::postEvent(threads.object(worker), new QEvent(type));
    threads.call(worker, [come] { come->countDown(); });
    return come->wait(hangLimit);
}

} // namespace

TEST(EventTypes, ofTheLibraryAreNoneThatAHostCouldRegister)
{
    RecordingApplication& application = makeRecordingApplication();
    const auto own = static_cast<QEvent::Type>(QEvent::registerEventType());
    {
        const auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
        const HostObjects threads(queue);
        ASSERT_EQ(threads.count(), 2);
        ASSERT_TRUE(postToWorker(threads, 0, own));
        std::thread([queue] {
            for (int i = 0; i < 1000; ++i) {
                addTask(queue, [] {});
                dispatchAsync([] {}, eQOS_GUI);
            }
        }).join();
        const auto waited = std::make_shared<Latch>();
        addTask(queue, [queue, waited] {
            addTask(queue, [] {})->waitTillFinished();
            QCoreApplication::processEvents();
            waited->countDown();
        });
        ASSERT_TRUE(waited->wait(hangLimit));
        EXPECT_TRUE(runAside([] { dispatchSync([] {}, eQOS_GUI); }));
    }
    std::set<int> types = application.types();
    EXPECT_EQ(types.count(own), 1U); // so the others would have been seen too
    types.erase(own);
    for (const int type : types)
        EXPECT_NE(QEvent::registerEventType(type), type) << "the number was free";
}

TEST(EventTypes, thatAHostHasRegisteredComeToItsOwnObjectsOnly)
{
    RecordingApplication& application = makeRecordingApplication();
    constexpr int wished = QEvent::User + 1;
    ASSERT_EQ(QEvent::registerEventType(wished), wished) << "the host was to get this number";
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 2);
    for (int i = 0; i < 100; ++i)
        addTask(queue, [] {})->waitTillFinished();
    std::thread([] { dispatchAsync([] {}, eQOS_GUI); }).join();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(application.types().count(wished), 0U);
}

TEST(WorkerSlot, tryRunTaskRunsAPendingTaskOnceAndIgnoresAnyOther)
{
    const RecordingApplication& application = makeRecordingApplication();
    const auto queue = TaskQueue::createQueue(eQOS_Normal, 1);
    addTask(queue, [] {})->waitTillFinished();
    std::atomic<int> runs{0};
    std::atomic<int> calls{0};
    bool hasRunHere = false;
    const auto outer = addTask(queue, [&] {
        QObject* const worker = application.workerHere();
        if (worker == nullptr)
            return;
        const auto tryToRun = [&](Task* task) {
            if (QMetaObject::invokeMethod(worker, "tryRunTask", Qt::DirectConnection, Q_ARG(Task*, task)))
                ++calls;
        };
        QThread* const here = QThread::currentThread();
        const auto pending = addTask(queue, [&, here] {
            ++runs;
            hasRunHere = QThread::currentThread() == here;
        });
        Task stranger([&] { ++runs; });
        tryToRun(&stranger);
        tryToRun(pending.get());
        tryToRun(pending.get());
        EXPECT_EQ(pending->getTaskState(), Task::eFinished);
        EXPECT_EQ(stranger.getTaskState(), Task::ePending);
    });
    outer->waitTillFinished();
    EXPECT_EQ(calls, 3) << "no worker was found";
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(hasRunHere);
    addTask(queue, [] {})->waitTillFinished(); // the worker serves its queue as before
}
