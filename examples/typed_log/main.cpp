#include <exception>
#include <filesystem>
#include <iostream>

#include <QtGlobal>

#include <brn_mesh_kernel/kernel/Kernel.h>
#include <brn_mesh_kernel/logging/Log.h>
#include <brn_mesh_kernel/logging/QtMessages.h>

namespace {

struct Box
{
    double width, height, depth;
};

} // namespace

// How the log writes a type of one's own.
template <>
struct fmt::formatter<Box> : fmt::formatter<double>
{
    template <typename Context>
    auto format(const Box& box, Context& context) const
    {
        return fmt::format_to(context.out(), "{} x {} x {}", box.width, box.height, box.depth);
    }
};

int main()
try {
    using namespace Brennic::Core;
    Kernel& kernel = Kernel::Instance();
    kernel.SetLogMessageFormat(L"%-5p %m%n");
    kernel.Initialize();
    QtMessages::forward();
    const std::filesystem::path file = "meshes/Bunny.obj";
    const Box box{1.5, 1.25, 1};
    BRN_LOG(Info, "{} has {} vertices in a box of {}", file, 34834, box);
    BRN_LOG(Debug, "left out, and nothing of it is evaluated: {}", file.parent_path());
    qWarning("Qt says %d", 42);
    kernel.Terminate();
} catch (const std::exception& error) {
    std::cerr << "typed_log: " << error.what() << '\n';
    return 1;
}
