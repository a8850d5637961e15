// As in a host that uses Qt's keywords: every public header must live with them, whatever came before.
#undef QT_NO_KEYWORDS
#include <QtCore>

#include <brn_mesh_kernel/objects/Broadcaster.h>
#include <brn_mesh_kernel/objects/Delegator.h>
#include <brn_mesh_kernel/objects/SharedObject.h>
#include <brn_mesh_kernel/progress/Progress.h>
#include <brn_mesh_kernel/progress/ProgressReportingProtocol.h>
#include <brn_mesh_kernel/tasks/Dispatch.h>
#include <brn_mesh_kernel/tasks/EQualityOfService.h>
#include <brn_mesh_kernel/tasks/Task.h>
#include <brn_mesh_kernel/tasks/TaskQueue.h>

#include <gtest/gtest.h>

#if !defined(emit) || !defined(signals) || !defined(slots)
#error "Qt's keywords are off, so this file tests nothing"
#endif

TEST(QtKeywords, aHostThatUsesThemCanUseTheLibrary)
{
    Brennic::Core::Progress progress(4);
    EXPECT_EQ(++progress, 1);
}
