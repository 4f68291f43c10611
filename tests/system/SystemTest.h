// A fixture with a registered module in a root folder of its own, and the telephones that the tests need.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "tools/lab/ModuleSetup.h"
#include "tools/lab/RtpPeer.h"
#include "tools/lab/SpeechSource.h"

// Whether the daemon under test is a build of its own kind, as for the sanitizers, whose memory and time are
// not the module's.
inline const bool Sanitized = std::getenv("KESTREL_DAEMON") != nullptr;

constexpr int PatienceMs = 20000;

class SystemTest : public ::testing::Test {
 protected:
    void StartModule(lab::ModuleSetup::Options options = {}) {
        std::string error;
        ASSERT_TRUE(module.Start(options, error)) << error;
        module.Control().SetTimeout(PatienceMs);
    }
    // A telephone whose leg is mapped; 30 ms packets are 30 for G.711 and 3 for G.729.
    std::unique_ptr<lab::RtpPeer> Phone(UWORD chan, lab::Codec codec, int packetMs = 20, UBYTE flags = 0,
                                        const lab::SrtpKeys* keys = nullptr) {
        lab::RtpPeer::Setup setup;
        setup.codec = codec;
        setup.packetMs = packetMs;
        setup.address = module.OwnAddress();
        if (keys != nullptr) setup.keys = *keys;
        auto phone = std::make_unique<lab::RtpPeer>(setup);
        std::string error;
        EXPECT_TRUE(phone->Open(error)) << error;
        phone->ConnectTo(module.Leg(chan));
        EXPECT_TRUE(module.Control().Map({.chan = chan,
                                          .comp = static_cast<UBYTE>(codec),
                                          .remote = phone->Local(),
                                          .mfpp = lab::FramesPerPacket(codec, packetMs),
                                          .flags = flags,
                                          .keys = keys}));
        return phone;
    }
    static lab::SpeechSource Speech() {
        std::string error;
        auto speech = lab::SpeechSource::Open("", error);
        EXPECT_TRUE(speech.has_value()) << error;
        return speech ? std::move(*speech) : lab::SpeechSource(std::vector<std::int16_t>(8000));
    }
    // Ends the daemon in order and says whether it did.
    void ExpectCleanEnd() {
        EXPECT_EQ(module.Stop(), 0) << "the daemon's last line: " << module.Daemon().Lines().back();
        EXPECT_EQ(module.Daemon().CountLines("Bye bye...."), 1U);
    }

    lab::ModuleSetup module;
};
