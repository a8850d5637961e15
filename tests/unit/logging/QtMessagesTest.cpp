#include <brn_mesh_kernel/logging/QtMessages.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QString>
#include <QtGlobal>

#include <brn_mesh_kernel/logging/LogGate.h>

#include "support/KernelFixture.h"

using namespace Brennic::Core;
using namespace Brennic::Testing;
using ::testing::ElementsAre;

namespace {

std::vector<std::string> g_handedOn;

void keepMessage(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& message)
{
    g_handedOn.push_back(message.toStdString());
}

using QtMessagesAtTheEnd = KernelFixture;

} // namespace

TEST_F(QtMessagesAtTheEnd, messagesGoWhereTheyWentOnceTheLogHasEnded)
{
    initializeWithPlainLines();
    qInstallMessageHandler(&keepMessage);
    QtMessages::forward();
    qWarning("before");
    LogGate::instance().close(); // as the end of the process does
    qWarning("after");
    QtMessages::restore();
    EXPECT_THAT(logLines(), ElementsAre("before"));
    EXPECT_THAT(g_handedOn, ElementsAre("after"));
}
