// A host that opens the library at run time. Takes the library's path and the name of a scene; ends with 0 if
// everything came as expected.
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include <QCoreApplication>

#include <brn_mesh_kernel/tasks/EQualityOfService.h>

#include "programs/Check.h"
#include "programs/LoadedLibrary.h"
#include "support/Latch.h"

using namespace Brennic::Core;
using Brennic::Testing::Latch;

namespace {

using Dispatch = bool(const std::function<void()>&, EQualityOfService);

const char* libraryPath = nullptr;
int argumentCount = 1;
char programName[] = "program";
char* arguments[] = {programName, nullptr};

std::unique_ptr<QCoreApplication> makeApplication()
{
    return std::make_unique<QCoreApplication>(argumentCount, arguments);
}

class Library
{
public:
    Library() : m_handle(Brennic::Testing::openLibrary(libraryPath)) { CHECK(m_handle != nullptr); }
    ~Library() { close(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void close()
    {
        if (m_handle != nullptr)
            CHECK(Brennic::Testing::closeLibrary(m_handle));
        m_handle = nullptr;
    }

    Dispatch* dispatchAsync() const { return dispatch("dispatchAsync"); }
    Dispatch* dispatchSync() const { return dispatch("dispatchSync"); }

private:
    Dispatch* dispatch(const std::string& name) const
    {
        const std::string symbol = "_ZN7Brennic4Core" + std::to_string(name.size()) + name +
                                   "ERKSt8functionIFvvEENS0_17EQualityOfServiceE";
        auto* const function = reinterpret_cast<Dispatch*>(Brennic::Testing::findSymbol(m_handle, symbol));
        CHECK(function != nullptr);
        return function;
    }

    void* m_handle;
};

int idle()
{
    const auto application = makeApplication();
    Library library;
    CHECK(library.dispatchSync()([] {}, eQOS_Normal));
    return 0;
}

int idleWithoutApplication()
{
    const Library library;
    return 0;
}

int again()
{
    for (int i = 0; i < 50; ++i)
        const Library library;
    const auto application = makeApplication();
    for (int i = 0; i < 50; ++i) {
        const Library library;
        int runs = 0;
        CHECK(library.dispatchSync()([&] { ++runs; }, eQOS_Normal));
        CHECK(library.dispatchSync()([&] { ++runs; }, eQOS_GUI));
        CHECK(runs == 2);
    }
    return 0;
}

int busy()
{
    const auto application = makeApplication();
    Latch started;
    Latch mayEnd;
    Latch done(101);
    Library library;
    library.dispatchAsync()(
        [&] {
            started.countDown();
            CHECK(mayEnd.wait());
            done.countDown();
        },
        eQOS_Normal);
    CHECK(started.wait());
    for (int i = 0; i < 100; ++i)
        library.dispatchAsync()([&] { done.countDown(); }, eQOS_Normal);
    library.close(); // must not wait for the task, which goes on only now
    mayEnd.countDown();
    CHECK(done.wait());
    return 0;
}

int busyToTheEnd()
{
    const auto application = makeApplication();
    static Latch started;
    Library library;
    library.dispatchAsync()(
        [] {
            started.countDown();
            for (;;)
                std::this_thread::yield();
        },
        eQOS_Normal);
    CHECK(started.wait());
    library.close();
    return 0;
}

int busyWithTheLoader()
{
    const auto application = makeApplication();
    Latch started;
    Latch done;
    Library library;
    library.dispatchAsync()(
        [&] {
            started.countDown();
            for (int i = 0; i < 200; ++i) // takes the lock that closing the library holds
                CHECK(Brennic::Testing::useTheLoader());
            thread_local const std::string first(100, 'x'); // so does registering its destructor
            CHECK(first.size() == 100);
            done.countDown();
        },
        eQOS_Normal);
    CHECK(started.wait());
    library.close();
    CHECK(done.wait());
    return 0;
}

int applicationAfterClosing()
{
    {
        const Library library;
    }
    for (int i = 0; i < 3; ++i)
        const auto application = makeApplication();
    return 0;
}

int applicationAfterDispatchingAndClosing()
{
    std::atomic<int> runs{0};
    Latch done;
    {
        const Library library;
        library.dispatchAsync()([&] { ++runs; }, eQOS_Normal);
        library.dispatchAsync()([&] { done.countDown(); }, eQOS_Normal);
    }
    CHECK(runs == 0);
    const auto application = makeApplication();
    CHECK(done.wait());
    CHECK(runs <= 1);
    return 0;
}

int applicationEndsAfterClosing()
{
    auto application = makeApplication();
    {
        const Library library;
        CHECK(library.dispatchSync()([] {}, eQOS_Normal));
    }
    application.reset();
    application = makeApplication();
    return 0;
}

const std::map<std::string, int (*)()> scenes{
    {"idle", &idle},
    {"idleWithoutApplication", &idleWithoutApplication},
    {"again", &again},
    {"busy", &busy},
    {"busyToTheEnd", &busyToTheEnd},
    {"busyWithTheLoader", &busyWithTheLoader},
    {"applicationAfterClosing", &applicationAfterClosing},
    {"applicationAfterDispatchingAndClosing", &applicationAfterDispatchingAndClosing},
    {"applicationEndsAfterClosing", &applicationEndsAfterClosing},
};

} // namespace

int main(int count, char** values)
{
    CHECK(count == 3);
    libraryPath = values[1];
    const auto scene = scenes.find(values[2]);
    CHECK(scene != scenes.end());
    return scene->second();
}
