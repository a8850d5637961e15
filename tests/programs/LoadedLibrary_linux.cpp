#include "programs/LoadedLibrary.h"

#include <dlfcn.h>

namespace Brennic::Testing {

void* openLibrary(const char* utf8Path)
{
    return dlopen(utf8Path, RTLD_NOW | RTLD_LOCAL);
}

bool closeLibrary(void* library)
{
    return dlclose(library) == 0;
}

void* findSymbol(void* library, const std::string& name)
{
    return dlsym(library, name.c_str());
}

bool useTheLoader()
{
    return dlsym(RTLD_DEFAULT, "malloc") != nullptr;
}

} // namespace Brennic::Testing
