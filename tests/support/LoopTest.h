// A fixture whose test thread is a module thread in small: pools, a console that records, and a trigger loop.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "platform/kernel/Kernel.h"
#include "tests/support/RecordingConsole.h"

class LoopTest : public ::testing::Test {
 protected:
    void SetUp() override {
        KernelCfg cfg;
        os_startup(0, 0, &cfg);
        OSTrigger::TLSInitialise();
    }
    void TearDown() override {
        OSTrigger::TLSUninitialise();
        EXPECT_EQ(OSBuf::allocated_list.Size(), 0) << "a buffer was not freed";
        os_cleanup();
        if (OS_MEMORY != OS_EMPTYPOOL) std::free(OS_MEMORY);
        OS_MEMORY = OS_EMPTYPOOL;
    }

    // Runs the loop until `done` holds; false when it does not within `ms`.
    static bool RunUntil(const std::function<bool()>& done, ULONG ms = 5000) {
        const ULONG start = os_clock();
        while (!done()) {
            const int left = static_cast<int>(start + ms - os_clock());
            if (left <= 0) return false;
            WaitForSingleObject(OSTrigger::TLSGetEvent(), left);
            OSTrigger::TLSPoll();
        }
        return true;
    }
    // Runs the loop for `ms`.
    static void RunFor(ULONG ms) {
        RunUntil([] { return false; }, ms);
    }

    RecordingConsole console;
};
