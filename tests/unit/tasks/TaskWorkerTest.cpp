#include <brn_mesh_kernel/tasks/TaskWorker.h>

#include <gtest/gtest.h>

#include <QMetaMethod>

using namespace Brennic::Core;

TEST(TaskWorker, theMetaObjectNamesTheClassWithItsOneSlot)
{
    const QMetaObject& meta = TaskWorker::staticMetaObject;
    EXPECT_STREQ(meta.className(), "Brennic::Core::TaskWorker");
    EXPECT_EQ(meta.superClass(), &QObject::staticMetaObject);
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    EXPECT_EQ(method.methodType(), QMetaMethod::Slot);
    EXPECT_EQ(method.methodSignature(), "tryRunTask(Task*)");
}
