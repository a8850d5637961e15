#include "programs/LoadedLibrary.h"

#include <windows.h>

#include <boost/nowide/convert.hpp>

namespace Brennic::Testing {

void* openLibrary(const char* utf8Path)
{
    return LoadLibraryW(boost::nowide::widen(utf8Path).c_str());
}

bool closeLibrary(void* library)
{
    return FreeLibrary(static_cast<HMODULE>(library)) != FALSE;
}

void* findSymbol(void* library, const std::string& name)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name.c_str()));
}

bool useTheLoader()
{
    const HMODULE library = LoadLibraryW(L"version.dll"); // nobody else uses it
    const bool isFound = findSymbol(library, "VerQueryValueW") != nullptr;
    return closeLibrary(library) && isFound;
}

} // namespace Brennic::Testing
