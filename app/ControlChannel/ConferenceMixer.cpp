#include "app/ControlChannel/ConferenceMixer.h"

#include <algorithm>
#include <cstring>

#include "app/ControlChannel/MediaChannel.h"
#include "app/ControlChannel/MediaPair.h"
#include "platform/media/G711.h"

namespace {

constexpr int MaxKept = 8;
constexpr int FrameSamples = 80;
constexpr int LinearBytes = FrameSamples * sizeof(short);

// Adds the oldest linear frame of a leg to `sum`; false when there is none.
bool AddOldest(MediaRelay* relay, short* sum) {
    OSBuf* buf = relay != nullptr ? relay->confq.RemoveFirst() : nullptr;
    if (buf == nullptr) return false;
    short samples[FrameSamples];
    memcpy(samples, buf->data, sizeof samples);
    for (int i = 0; i < FrameSamples; ++i) sum[i] = static_cast<short>(sum[i] + samples[i]);
    buf->Free();
    return true;
}

}  // namespace

void ConferenceMixer::Keep(MediaRelay& from, OSBuf& frame) {
    if (from.confq.Size() >= MaxKept) return;
    short samples[FrameSamples] = {};
    AlawToLinear(frame.data, samples, std::min<int>(frame.len, FrameSamples));
    OSBuf* copy = OSBuf::Alloc(LinearBytes);
    copy->PushData(samples, LinearBytes);
    from.confq.Append(copy);
}

OSBuf* ConferenceMixer::Mix(MediaRelay* internal, MediaRelay* external) {
    short sum[FrameSamples] = {};
    const bool fromExternal = AddOldest(external, sum);
    const bool fromInternal = AddOldest(internal, sum);
    if (!fromExternal && !fromInternal) return nullptr;
    OSBuf* mix = OSBuf::Alloc(FrameSamples + MediaRelay::Headroom);
    LinearToAlaw(sum, mix->PushDown(FrameSamples), FrameSamples);
    return mix;
}

void ConferenceMixer::Distribute(const MediaChannel& host, OSBuf* mix) {
    for (const MediaChannel* member : host.conferenced_with) {
        const CriticalSectionLock held(member->parent->cs);
        if (member->relay) member->relay->Send(mix->Duplicate());
    }
    mix->Free();
}
