#include "RunSource.h"

#include "Pipeline.h"
#include "ResidentMemory.h"

void RunSource::endRun()
{
    m_ofEarlierRuns = FrameCount();
    m_pipeline = nullptr;
}

std::int64_t RunSource::MemoryUsage()
{
    return residentMemoryInBytes();
}

std::int64_t RunSource::FrameCount()
{
    return m_ofEarlierRuns + (m_pipeline == nullptr ? 0 : m_pipeline->iterationsDone());
}
