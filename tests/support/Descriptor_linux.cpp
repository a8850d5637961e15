#include "support/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace Brennic::Testing {

int Descriptor::openToAppend(const std::filesystem::path& path)
{
    return ::open(path.c_str(), O_CREAT | O_RDWR | O_APPEND, 0600);
}

int Descriptor::duplicate(int descriptor)
{
    return ::dup(descriptor);
}

void Descriptor::replace(int descriptor, int other)
{
    ::dup2(other, descriptor);
}

void Descriptor::close(int descriptor)
{
    ::close(descriptor);
}

} // namespace Brennic::Testing
