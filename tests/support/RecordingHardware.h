// A driver that writes down what is asked of it, and counts 1 to 6.
#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "platform/media/AudioHardware.h"

// In force while it lives.
class RecordingHardware final : public media::AudioHardware {
 public:
    RecordingHardware() { media::ReplaceHardware(this); }
    ~RecordingHardware() override { media::ReplaceHardware(nullptr); }
    RecordingHardware(const RecordingHardware&) = delete;
    RecordingHardware& operator=(const RecordingHardware&) = delete;

    void StartRealTime() override { Note("real time"); }
    bool Open(UWORD sid, PhoneDevice::Direction direction) override {
        return Note("open %d, direction %d", sid, direction);
    }
    bool Protect(UWORD sid, const media::StreamKeys& keys) override {
        return Note("protect %d, tag %d, %02x %02x %02x %02x", sid, keys.tagLength, keys.localSalt[13],
                    keys.localKey[15], keys.remoteSalt[13], keys.remoteKey[15]);
    }
    bool Describe(UWORD sid, const media::StreamDescription& d) override {
        last = d;
        return Note("describe %d", sid);
    }
    bool PlayDigit(UWORD sid, char digit, int durationMs) override {
        return Note("digit %d, %c, %d", sid, digit, durationMs);
    }
    bool MixIn(UWORD host, UWORD member) override { return Note("mix %d into %d", member, host); }
    void MixOut(UWORD host, UWORD member) override { Note("mix %d out of %d", member, host); }
    bool ReadStatistics(UWORD sid, _rtp_callstats& stats) override {
        stats = {{1, sid, 0}, 1, 2, 3, 4, 5, 6};
        return Note("statistics %d", sid);
    }
    void Close(UWORD sid) override { Note("close %d", sid); }

    std::vector<std::string> Take() { return std::exchange(notes, {}); }

    bool accepts = true;  // or refuses everything
    media::StreamDescription last;

 private:
    template <class... Arguments>
    bool Note(const char* format, Arguments... arguments) {
        char text[100];
        if constexpr (sizeof...(arguments) == 0) {
            snprintf(text, sizeof text, "%s", format);
        } else {
            snprintf(text, sizeof text, format, arguments...);
        }
        notes.emplace_back(text);
        return accepts;
    }

    std::vector<std::string> notes;
};
