#include "support/Descriptor.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

namespace Brennic::Testing {

int Descriptor::openToAppend(const std::filesystem::path& path)
{
    return ::_wopen(path.c_str(), _O_CREAT | _O_RDWR | _O_APPEND | _O_BINARY, _S_IREAD | _S_IWRITE);
}

int Descriptor::duplicate(int descriptor)
{
    return ::_dup(descriptor);
}

void Descriptor::replace(int descriptor, int other)
{
    ::_dup2(other, descriptor);
}

void Descriptor::close(int descriptor)
{
    ::_close(descriptor);
}

} // namespace Brennic::Testing
