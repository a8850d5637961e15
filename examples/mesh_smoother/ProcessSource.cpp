#include "ProcessSource.h"

#include "Pipeline.h"
#include "ResidentMemory.h"

std::int64_t ProcessSource::MemoryUsage()
{
    return residentMemoryInBytes();
}

std::int64_t ProcessSource::FrameCount()
{
    return m_pipeline.iterationsDone();
}
