#include "app/ControlChannel/MediaChannel.h"

#include <cstdarg>
#include <cstring>
#include <string>

#include "app/ControlChannel/ControlChannel.h"
#include "app/ControlChannel/MediaPair.h"
#include "app/ControlChannel/TraceLine.h"
#include "app/Globals.h"
#include "platform/kernel/OSConsole.h"

MediaChannel::MediaChannel(MediaPair* p, int portbase, int Achan)
    : parent(p), chan(Achan), locport(portbase + 2 * Achan) {
    Trace("MediaChannel");
    holdMusicTimer.SetCallback(HoldMusicTimer, this, nullptr, 0);
}

MediaChannel::~MediaChannel() {
    Trace("~MediaChannel");
    {
        const CriticalSectionLock held(parent->cs);
        while (!conferenced_with.IsEmpty()) ConferenceRemove(conferenced_with.Head());
    }
    // Not under this pair's lock: the host's comes first in the order of locks.
    if (conferenced_to != nullptr) conferenced_to->ConferenceRemove(this);
    Teardown();
}

void MediaChannel::Trace(const char* format, ...) const {
    char prefix[32];
    snprintf(prefix, sizeof prefix, "MediaChannel(%d)::", chan);
    va_list args;
    va_start(args, format);
    TraceLine(prefix, format, args);
    va_end(args);
}

bool MediaChannel::IsKey(char* key) {
    UWORD number = 0;
    memcpy(&number, key, sizeof number);
    return number == chan;
}

bool MediaChannel::WouldCloseRing(const MediaChannel& member) const {
    if (&member == this) return false;  // a channel in its own conference only re-enters its own lock
    const MediaChannel* host = this;
    while (host != nullptr && host != &member)
        host = host->conferenced_to != host ? host->conferenced_to : nullptr;
    return host != nullptr;
}

void MediaChannel::ConferenceAdd(MediaChannel* member) {
    if (member == nullptr || member->conferenced_to != nullptr) return;
    if (WouldCloseRing(*member)) {
        Trace("ConferenceAdd - refused chan %d, it would close a ring of hosts", member->chan);
        return;
    }
    if (real_hardware && rtpendpoint && member->rtpendpoint)
        rtpendpoint->ConferenceAdd(member->rtpendpoint.get());
    const CriticalSectionLock held(parent->cs);
    conferenced_with.Append(member);
    member->conferenced_to = this;
}

void MediaChannel::ConferenceRemove(MediaChannel* member) {
    if (member == nullptr || member->conferenced_to != this) return;
    if (real_hardware && rtpendpoint && member->rtpendpoint)
        rtpendpoint->ConferenceRemove(member->rtpendpoint.get());
    const CriticalSectionLock held(parent->cs);
    conferenced_with.Remove(member);
    member->conferenced_to = nullptr;
}

void MediaChannel::RtpDtmfCallback(void* context, char digit, int duration) {
    const auto* self = static_cast<const MediaChannel*>(context);
    if (self == self->parent->internal.get()) {
        self->OnInternalDigit(digit, duration);
    } else {
        self->OnExternalDigit(digit, duration);
    }
}

void MediaChannel::OnInternalDigit(char digit, int duration) const {
    const MediaChannel& external = *parent->external;
    if (external.rtpendpoint == nullptr) return;
    if (external.blockDtmf) {
        Console->Print("MediaChannel::RtpDtmfCallback - blocked DTMF event...");
    } else {
        external.rtpendpoint->DTMFDigit(digit, duration);
    }
}

void MediaChannel::OnExternalDigit(char digit, int duration) const {
    if (parent->internal->rtpendpoint) parent->internal->rtpendpoint->DTMFDigit(digit, duration);
    Console->Print("MediaChannel::RtpDtmfCallback - chan %d, digit %c, duration %d", chan, digit, duration);
    ControlChannel::RtpDtmfCallback(parent->controlChan, FirstStream + chan, digit, duration);
}

void MediaChannel::HoldMusicTimer(OSObj* obj, void* /*param*/, unsigned long /*value*/) {
    auto* self = static_cast<MediaChannel*>(obj);
    const SockAddr group = self->holdMusic;
    if (group.Address() == 0) return;
    Console->Print("MediaChannel::HoldMusicTimer - mapping to hold music %s:%u", group.AddressStr().c_str(),
                   group.Port());
    self->SetupHoldMusic(self->holdMusicCompType, group.Address(), group.Port());
    self->Start(self->holdMusicCompType, group.Address(), group.Port());
}
