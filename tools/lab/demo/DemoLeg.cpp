// One leg of the demonstration.
#include "tools/lab/demo/DemoLeg.h"

#include "tools/lab/demo/Text.h"

namespace lab {

DemoLeg::DemoLeg(const Setup& setup)
    : setup(setup), peer({.codec = setup.codec, .packetMs = setup.packetMs, .keys = setup.keys}) {}

std::string DemoLeg::Label() const {
    return Format("%u %s, %s%s", setup.chan, setup.name.c_str(), SpokenName(setup.codec).c_str(),
                  setup.keys ? ", SRTP" : "");
}

void DemoLeg::Say(std::vector<std::int16_t> what) {
    peer.Talk(SpeechSource(std::move(what)).Code(setup.codec, setup.packetMs));
}

void DemoLeg::Sample(double seconds) {
    samples.push_back({seconds, peer.PacketsSent(), peer.Counts().packets});
}

std::string SpokenName(Codec codec) {
    switch (codec) {
        case Codec::Alaw:
            return "A-law";
        case Codec::Ulaw:
            return "u-law";
        case Codec::G729:
            return "G.729";
    }
    return "?";
}

}  // namespace lab
