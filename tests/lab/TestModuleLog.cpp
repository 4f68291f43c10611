#include <gtest/gtest.h>

#include "tools/lab/demo/ModuleLog.h"
#include "tools/lab/demo/ResourcesLine.h"

namespace lab {
namespace {

TEST(ModuleLog, HidesKeysAndNothingElse) {
    const ModuleLog log({"SWMODULE: TQ 1.3(117)",
                         "18/11/2026 14:03:07.042518 ControlChannel::OnMap - local master key:", " 00 01 02",
                         "18/11/2026 14:03:07.042520 ControlChannel::OnMap - local master salt:", " 0a",
                         "18/11/2026 14:03:07.042530 ControlChannel::Receive - Sending Ack"});
    EXPECT_EQ(log.Text().find("01 02"), std::string::npos);
    EXPECT_EQ(log.Text().find("0a"), std::string::npos);
    EXPECT_NE(log.Text().find("Sending Ack"), std::string::npos);
    EXPECT_NE(log.Text().find("master salt:"), std::string::npos);
    EXPECT_EQ(log.Version(), "SWMODULE: TQ 1.3(117)");
    EXPECT_EQ(ModuleLog({}).Version(), "unknown");
}

TEST(ModuleLog, SaysWhetherRealTimePriorityWasGranted) {
    EXPECT_EQ(ModuleLog({"RelayThread::Main - chan 0 - thread started"}).RealTimeWords(), "granted");
    const ModuleLog refused({"18/11/2026 14:03:07.042518 sched_setscheduler returned EPERM (why)"});
    EXPECT_EQ(refused.RealTimeWords(), "not granted: sched_setscheduler returned EPERM (why)");
}

TEST(ResourcesLine, ReadsTheModulesLineAndNoOther) {
    const auto line = ResourcesLine::Parse(
        "23/11/2026 01:20:08.081061 Resources: mem=0 (0) L=99994 CB=3985 "
        "B=200(200),8000(7980),500(498),500(500) "
        "AsyncSockets=3 Sockets=3 ActiveChans=0");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->links, 99994);
    EXPECT_EQ(line->buffers, (std::array{200, 8000, 500, 500}));
    EXPECT_EQ(line->asyncSockets, 3);
    EXPECT_EQ(line->slots, 0);
    EXPECT_EQ(line->Words(), "buffers 200,8000,500,500, sockets 3, slots 0");
    EXPECT_FALSE(ResourcesLine::Parse("Stats:   0 - rx  50, tx  50"));
    EXPECT_FALSE(ResourcesLine::Parse("Resources: mem=0 (0) L=99994"));
}

}  // namespace
}  // namespace lab
