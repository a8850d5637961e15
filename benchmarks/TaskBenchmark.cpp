/// \file
/// Measures what it costs to hand a callable to the library, beside what Qt offers for the same purpose, with
/// threads unpinned and pinned. Also measures whether that stays the same however many callables are pending.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <QProcess>
#include <QString>
#include <QStringList>

#include "Bursts.h"
#include "GuiThread.h"
#include "Placement.h"
#include "Ratios.h"
#include "peers/GuiQueuedCall.h"
#include "peers/KernelDispatch.h"
#include "peers/KernelQueue.h"
#include "peers/ObjectInThread.h"
#include "peers/QtThreadPool.h"

namespace {

using KernelGlobalQueue = KernelDispatch<Brennic::Core::eQOS_Normal>;
using KernelGui = KernelDispatch<Brennic::Core::eQOS_GUI>;

constexpr int shortBurst = 20'000;
constexpr int longBurst = 200'000;
constexpr int workersOfProducers = 4;
constexpr int workersOfBacklog = 4;

/// Makes a peer and pins the calling thread and the workers. When the measurement begins, each worker's
/// thread has run a callable.
template <typename Peer>
std::unique_ptr<Peer> makePeer(benchmark::State& state, int workers, Placement placement)
{
    placeProducer(placement);
    auto peer = std::make_unique<Peer>(workers);
    const HeldWorkers held(*peer, workers, [placement] { placeWorker(placement); });
    if (!held.areAllHeld())
        state.SkipWithError("not all of its workers run at the same time");
    return peer;
}

/// Adds a benchmark and returns its name, by which a Ratio refers to it. No two may have the same.
template <typename Function>
std::string add(std::string name, int iterations, Function function)
{
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->UseManualTime()
        ->Iterations(iterations)
        ->Unit(benchmark::kMicrosecond);
    return name;
}

// Shorter measurements are repeated more often, so that all take about as long.
int iterationsFor(int count)
{
    return std::max(1, longBurst / count / 2);
}

template <typename Peer>
std::string addBurst(const std::string& what, int workers, int producers, int count, Placement placement)
{
    return add(what + " by " + Peer::name, iterationsFor(count), [=](benchmark::State& state) {
        const auto peer = makePeer<Peer>(state, workers, placement);
        for (auto iteration : state)
            state.SetIterationTime(producers == 1 ? timeOfBurst(*peer, count)
                                                  : timeOfBurst(*peer, count, producers));
    });
}

template <typename Peer>
std::string addBacklog(const std::string& what, int workers, int count, Placement placement)
{
    return add(what + ", " + std::to_string(count) + " pending, by " + Peer::name, iterationsFor(count),
               [=](benchmark::State& state) {
                   const auto peer = makePeer<Peer>(state, workers, placement);
                   for (auto iteration : state)
                       state.SetIterationTime(timeOfBacklog(*peer, workers, count));
               });
}

/// Adds a benchmark of one callable after the other, each measured from the call until the calling thread
/// goes on.
template <typename Peer>
std::string addCalls(const std::string& what, int workers, std::chrono::milliseconds rest,
                     Placement placement)
{
    const int iterations = rest.count() == 0 ? 2000 : 100;
    return add(what + " by " + Peer::name, iterations, [=](benchmark::State& state) {
        const auto peer = makePeer<Peer>(state, workers, placement);
        for (auto iteration : state) {
            if (rest.count() != 0)
                std::this_thread::sleep_for(rest);
            const auto start = Clock::now();
            peer->runAndWait([] {});
            state.SetIterationTime(Seconds(Clock::now() - start).count());
        }
    });
}

// The number with a comma before each three digits, as 1,000,000.
std::string grouped(int number)
{
    std::string text = std::to_string(number);
    for (int i = static_cast<int>(text.size()) - 3; i > 0; i -= 3)
        text.insert(static_cast<std::size_t>(i), 1, ',');
    return text;
}

std::string counted(int count, const char* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

/// Adds bursts of both lengths, in all placements.
template <typename Ours, typename Peer>
void compareBursts(Comparison& comparison, const std::string& what, int workers, int producers)
{
    for (const Placement placement : placements())
        for (const int count : {shortBurst, longBurst}) {
            const std::string whole = what + ", " + grouped(count) + ", " + nameOf(placement);
            comparison.ratios.push_back(
                {whole + " / " + Peer::name, addBurst<Ours>(whole, workers, producers, count, placement),
                 addBurst<Peer>(whole, workers, producers, count, placement), 1.0, ""});
        }
}

/// Compares what a callable costs among many that are pending with what it costs among few.
template <typename Peer>
Ratio addGrowth(const std::string& what, int workers, int many, Placement placement, double target)
{
    const std::string whole = what + ", " + nameOf(placement);
    return {whole + ", " + grouped(many) + " / " + grouped(shortBurst),
            addBacklog<Peer>(whole, workers, many, placement),
            addBacklog<Peer>(whole, workers, shortBurst, placement), target, ""};
}

/// Adds the growth of queued calls to one thread below ours: that part of the growth is the machine's.
template <typename Ours, typename QueuedCall>
void compareGrowth(Comparison& comparison, const std::string& where, int workers, int many, double target)
{
    for (const Placement placement : placements()) {
        comparison.ratios.push_back(addGrowth<Ours>("growth, " + where, workers, many, placement, target));
        comparison.ratios.push_back(
            addGrowth<QueuedCall>(std::string("growth, ") + QueuedCall::name, 1, many, placement, 0));
    }
}

/// Compares with queued calls to the same thread, which runs none before all are pending.
void compareGuiBacklogs(Comparison& comparison)
{
    for (const Placement placement : placements())
        for (const int count : {shortBurst, longBurst}) {
            const std::string whole = std::string("backlog of the GUI thread, ") + nameOf(placement);
            comparison.ratios.push_back({whole + ", " + grouped(count) + " / queued call",
                                         addBacklog<KernelGui>(whole, 1, count, placement),
                                         addBacklog<GuiQueuedCall>(whole, 1, count, placement), 1.0, ""});
        }
}

void compareWaiting(Comparison& comparison)
{
    using std::chrono::milliseconds;
    for (const Placement placement : placements())
        for (const auto& [when, rest] :
             {std::pair("in a row", milliseconds(0)), std::pair("after 2 ms", milliseconds(2))}) {
            const std::string whole = std::string("dispatchSync ") + when + ", " + nameOf(placement);
            comparison.ratios.push_back(
                {whole + " / blocking queued call",
                 addCalls<KernelGlobalQueue>(whole, KernelGlobalQueue::workers(), rest, placement),
                 addCalls<ObjectInThread>(whole, 1, rest, placement), 1.05, ""});
        }
}

/// Runs task_counts, a program of its own because counting would distort the times here.
std::vector<Figure> countedFigures()
{
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(BRN_TASK_COUNTS, QStringList());
    program.waitForFinished(-1);
    if (program.exitStatus() != QProcess::NormalExit || program.exitCode() != 0)
        std::fprintf(stderr, "%s has failed: nothing is counted\n", BRN_TASK_COUNTS);
    std::vector<Figure> figures;
    for (const QString& line : QString::fromUtf8(program.readAllStandardOutput()).split('\n')) {
        const QStringList parts = line.split('|');
        if (parts.size() == 4)
            figures.push_back(
                {parts[0].toStdString(), parts[1].toDouble(), parts[2].toDouble(), parts[3].toStdString()});
    }
    return figures;
}

Comparison comparison()
{
    Comparison all;
    for (const int workers : {1, 2, 4, 8, 16})
        compareBursts<KernelQueue, QtThreadPool>(all, counted(workers, "worker"), workers, 1);
    compareBursts<KernelQueue, QtThreadPool>(all, "4 producers, " + counted(workersOfProducers, "worker"),
                                             workersOfProducers, 4);
    const int globalWorkers = KernelGlobalQueue::workers();
    compareBursts<KernelGlobalQueue, QtThreadPool>(all, "dispatchAsync, " + counted(globalWorkers, "worker"),
                                                   globalWorkers, 1);
    compareBursts<KernelGui, GuiQueuedCall>(all, "dispatchAsync to the GUI thread", 1, 1);
    compareWaiting(all);
    compareGuiBacklogs(all);
    compareGrowth<KernelQueue, ObjectInThread>(all, counted(workersOfBacklog, "worker"), workersOfBacklog,
                                               1'000'000, 1.5);
    compareGrowth<KernelGui, GuiQueuedCall>(all, "GUI thread", 1, 320'000, 1.1);
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    Comparison all = comparison(); // asks which cores there are, so before any thread is pinned
    return runBesideGuiThread(argc, argv, [&] {
        all.figures = countedFigures();
        return runWithRatios(argc, argv, all);
    });
}
