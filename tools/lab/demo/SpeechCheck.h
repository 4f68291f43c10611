// Compares what one leg heard with what another said, and shows both.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/demo/DemoRun.h"

namespace lab {

struct SpeechCheck {
    const DemoLeg* from;
    const DemoLeg* to;
    std::vector<std::int16_t> said;       // linear, before the sender's codec
    std::vector<std::int16_t> recording;  // of the listener, from about the moment at which it was first said
    std::string file;                     // of both recordings: file-said.wav, file-heard.wav

    // Adds checks of likeness, the wave forms and the recordings. The yardstick is the same speech through
    // the same two codecs without a module and a network in between.
    void AddTo(DemoRun& run, ReportSection& section) const;
    // Adds the check that nothing was lost on the way to either far end.
    static void AddLossCheck(const ReceiveCounts& counts, const std::string& who, ReportSection& section);
};

}  // namespace lab
