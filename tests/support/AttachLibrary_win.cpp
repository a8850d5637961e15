/// \file
/// For programs that hold the library's own objects: does what DllMain does when the library is loaded.

#include <brn_mesh_kernel/kernel/LibraryEntry.h>

namespace {

struct Attachment
{
    Attachment() { Brennic::Core::libraryAttached(); }
    ~Attachment() { Brennic::Core::libraryDetached(); }
    Attachment(const Attachment&) = delete;
    Attachment& operator=(const Attachment&) = delete;
};

const Attachment attachment;

} // namespace
