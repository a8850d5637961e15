#include "Pipeline.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include <OpenMesh/Tools/Subdivider/Uniform/LoopT.hh>
#include <boost/nowide/convert.hpp>

#include "MeshFile.h"
#include "TaubinSmoother.h"

using namespace Brennic::Core;

namespace {

// Thrown where the run is to stop.
struct Cancelled
{
};

std::wstring wide(const std::filesystem::path& path)
{
    return boost::nowide::widen(path.u8string());
}

std::wstring sizeOf(const Mesh& mesh)
{
    return std::to_wstring(mesh.n_vertices()) + L" vertices, " + std::to_wstring(mesh.n_faces()) +
           L" triangles";
}

} // namespace

std::string reasonOf(const std::exception& error)
{
    const bool isMemoryMissing = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
    return isMemoryMissing ? "there is not enough memory" : error.what();
}

Pipeline::Pipeline(const RunOptions& options, Stages& stages, StageDone stageDone)
    : m_options(options),
      m_stages(stages),
      m_helpers(TaskQueue::createQueue(eQOS_Normal, std::max(1, options.threads - 1))),
      m_stageDone(std::move(stageDone))
{
}

RunEnd Pipeline::run()
{
    try {
        load();
        if (m_stages.has(Stage::Subdivide))
            subdivide();
        smooth();
        save();
        return {RunEnd::Outcome::Done, {}};
    } catch (const Cancelled&) {
        return {RunEnd::Outcome::Interrupted, {}};
    } catch (const std::exception& error) {
        return failed(reasonOf(error));
    } catch (...) {
        return failed("an error of an unknown kind");
    }
}

void Pipeline::load()
{
    m_stages.begin(Stage::Load);
    std::string warning;
    m_mesh = loadMesh(m_options.input, &warning);
    m_stages.report(Stage::Load, 1, 1);
    m_stageDone(Stage::Load, L"loaded " + wide(m_options.input) + L": " + sizeOf(m_mesh),
                boost::nowide::widen(warning));
}

void Pipeline::subdivide()
{
    m_stages.begin(Stage::Subdivide);
    OpenMesh::Subdivider::Uniform::LoopT<Mesh>
        subdivider;                                    // not attached: it does not survive an exception then
    const int all = 1 << (2 * m_options.subdivisions); // each round costs four times the last
    for (int i = 1; i <= m_options.subdivisions; ++i) {
        stopIfCancelled();
        subdivider(m_mesh, 1);
        m_stages.report(Stage::Subdivide, 1 << (2 * i), all);
    }
    m_stageDone(Stage::Subdivide, L"subdivided: " + sizeOf(m_mesh), L"");
}

void Pipeline::smooth()
{
    m_stages.begin(Stage::Smooth);
    TaubinSmoother smoother(m_mesh);
    LoopOptions loop;
    loop.queue = m_helpers.get();
    loop.maxWorkers = m_options.threads;
    loop.progress = std::make_shared<Progress>(); // no part of what is shown, which counts iterations
    m_stages.root()->setCancelHandler([progress = loop.progress] { progress->cancel(); });
    for (int i = 0; i < m_options.iterations; ++i) {
        stopIfCancelled();
        if (i == m_options.iterations / 2 && m_options.midway)
            m_options.midway();
        if (smoother.iterate(loop) != eLoop_Completed)
            throw Cancelled();
        ++m_iterationsDone;
        m_stages.report(Stage::Smooth, i + 1, m_options.iterations + 1);
    }
    smoother.apply(m_mesh);
    m_stages.report(Stage::Smooth, m_options.iterations + 1, m_options.iterations + 1);
    m_stageDone(Stage::Smooth,
                L"smoothed in " + std::to_wstring(m_options.iterations) + L" iterations on " +
                    std::to_wstring(m_options.threads) + L" threads",
                L"");
}

void Pipeline::save()
{
    stopIfCancelled();
    m_stages.begin(Stage::Save);
    saveMesh(m_mesh, m_options.output, [this] { stopIfCancelled(); });
    m_stages.report(Stage::Save, 1, 1);
    m_stageDone(Stage::Save, L"saved " + wide(m_options.output), L"");
}

void Pipeline::stopIfCancelled() const
{
    if (m_stages.root()->isCancelled())
        throw Cancelled();
}

RunEnd Pipeline::failed(const std::string& reason)
{
    m_stages.fail(boost::nowide::widen(reason));
    return {RunEnd::Outcome::Failed, reason};
}
