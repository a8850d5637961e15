#include "Stages.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numeric>

#include "RunOptions.h"

using Brennic::Core::Progress;

namespace {

constexpr int unitsForAll = 1000; // of the root; which stage stands for how many decides how long its bar is

using Costs = std::array<double, allStages.size()>;

std::size_t index(Stage stage)
{
    return static_cast<std::size_t>(stage);
}

// In nanoseconds, as measured on one machine; only their proportions count.
Costs estimateCosts(const RunOptions& options, std::uintmax_t inputSize)
{
    constexpr double bytesPerTriangle = 34; // of a text file
    const double triangles =
        static_cast<double>(inputSize) / bytesPerTriangle * std::pow(4.0, options.subdivisions);
    const double threads = options.threads;
    Costs costs{};
    costs[index(Stage::Load)] = static_cast<double>(inputSize) * 50;
    costs[index(Stage::Subdivide)] = options.subdivisions == 0 ? 0 : triangles * 150;
    costs[index(Stage::Smooth)] = triangles * (100 + options.iterations * 80 / threads);
    costs[index(Stage::Save)] = triangles * 600;
    return costs;
}

int unitsOf(double cost, double sum)
{
    return std::max(1, static_cast<int>(std::lround(unitsForAll * cost / sum)));
}

} // namespace

const wchar_t* stageName(Stage stage)
{
    constexpr std::array<const wchar_t*, allStages.size()> names = {L"Load", L"Subdivide", L"Smooth",
                                                                    L"Save"};
    return names.at(index(stage));
}

Stages::Stages(const RunOptions& options, std::uintmax_t inputSize, const std::wstring& name)
    : m_isNamedAfterStage(name.empty()), m_root(std::make_shared<Progress>(0, name))
{
    m_root->setKeepsRemainders(true); // its count arrives at the total, whatever the stages count in
    m_root->setReportInterval(
        std::chrono::milliseconds(50)); // an iteration on a small mesh takes less than a frame
    const Costs costs = estimateCosts(options, inputSize);
    const double sum = std::max(std::accumulate(costs.begin(), costs.end(), 0.0), 1.0);
    for (const Stage stage : allStages) {
        if (stage == Stage::Subdivide && options.subdivisions == 0)
            continue;
        m_stages.at(index(stage)) = std::make_shared<Progress>(1, stageName(stage));
        m_root->addChildWithPendingCount(m_stages.at(index(stage)), unitsOf(costs.at(index(stage)), sum));
    }
}

bool Stages::has(Stage stage) const
{
    return m_stages.at(index(stage)) != nullptr;
}

void Stages::begin(Stage stage)
{
    m_begun = m_stages.at(index(stage)).get();
    if (m_isNamedAfterStage)
        m_root->setDescription(stageName(stage));
    report(stage, 0, 1);
}

void Stages::report(Stage stage, int done, int total)
{
    Progress& progress = *m_stages.at(index(stage));
    if (progress.getTotalUnitCount() != total)
        progress.setTotalUnitCount(total);
    progress.setCompletedUnitCount(done);
}

// What has not begun is not waiting for anything any more.
void Stages::fail(const std::wstring& reason)
{
    if (m_begun != nullptr)
        m_begun->fail(reason);
    m_root->fail(reason);
    m_root->cancel();
}
