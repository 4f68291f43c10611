// A fixture for modules on the server's hardware, skipped where nobody may have a root folder of its own.
#pragma once

#include <gtest/gtest.h>

#include "tests/system/HardwareModule.h"

class HardwareTest : public ::testing::Test {
 protected:
    static constexpr int PatienceMs = 20000;
    static constexpr ULONG Peer = 0x7F000001;

    void SetUp() override {
        static const std::string refusal = HardwareModule::Refusal();
        if (!refusal.empty()) GTEST_SKIP() << refusal;
    }

    // Registered, with a report device, and by default showing what it asks of the hardware.
    void StartModule(const std::vector<std::string>& arguments = {"-debug-socket"}) {
        ASSERT_NO_FATAL_FAILURE(module.MakeReportDevice());
        ASSERT_NO_FATAL_FAILURE(module.Start(arguments));
        ASSERT_NO_FATAL_FAILURE(module.WaitRegistered());
    }
    bool Map(UWORD chan, UBYTE comp = 1, UBYTE mfpp = 20, const lab::SrtpKeys* keys = nullptr) {
        return module.control.Map({.chan = chan,
                                   .comp = comp,
                                   .remote = SockAddr(Peer, static_cast<UWORD>(40000 + 2 * chan)),
                                   .mfpp = mfpp,
                                   .keys = keys});
    }
    void ExpectInOrder(const std::vector<std::string>& texts) {
        std::size_t from = 0;
        for (const std::string& text : texts) {
            ASSERT_TRUE(module.daemon.WaitLine(text, PatienceMs, from))
                << "missing or out of order: " << text;
        }
    }
    std::size_t Count(const std::string& text) const { return module.daemon.CountLines(text); }
    bool WaitLine(const std::string& text) { return module.daemon.WaitLine(text, PatienceMs).has_value(); }

    HardwareModule module;
};
