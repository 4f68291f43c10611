// One leg of the demonstration: a channel of the module and the far end that talks to it, watched for the
// picture of packet rates.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/lab/RtpPeer.h"
#include "tools/lab/demo/PacketRatePlot.h"

namespace lab {

class DemoLeg {
 public:
    struct Setup {
        UWORD chan = 0;
        std::string name;  // who is at the far end
        Codec codec = Codec::Alaw;
        int packetMs = 20;
        std::optional<SrtpKeys> keys = std::nullopt;
    };

    explicit DemoLeg(const Setup& setup);

    UWORD Chan() const { return setup.chan; }
    const Setup& Settings() const { return setup; }
    RtpPeer& Peer() { return peer; }
    // As "0 internal, G.711 A-law 20 ms".
    std::string Label() const;

    // Talks these samples round and round.
    void Say(std::vector<std::int16_t> samples);
    // Notes how many packets passed; `seconds` since the start of the run.
    void Sample(double seconds);
    const std::vector<PacketRatePlot::Sample>& Samples() const { return samples; }

 private:
    const Setup setup;
    RtpPeer peer;
    std::vector<PacketRatePlot::Sample> samples;
};

// A codec as people call it: "G.711 A-law".
std::string SpokenName(Codec codec);

}  // namespace lab
