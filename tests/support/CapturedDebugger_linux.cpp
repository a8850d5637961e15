#include "support/CapturedDebugger.h"

#include "support/CapturedOutput.h"

namespace Brennic::Testing {

class CapturedDebugger::Impl
{
public:
    CapturedOutput output{Descriptor::standardError};
};

CapturedDebugger::CapturedDebugger() : m_impl(std::make_unique<Impl>()) {}

CapturedDebugger::~CapturedDebugger() = default;

std::string CapturedDebugger::text() const
{
    return m_impl->output.text();
}

std::string CapturedDebugger::shown(const std::string& utf8Line) const
{
    return utf8Line;
}

} // namespace Brennic::Testing
