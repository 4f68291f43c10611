#include "platform/media/HardwareStream.h"

#include "platform/kernel/OSConsole.h"

namespace media {

HardwareStream::HardwareStream(const SockAddr& heardRtp, const SockAddr& heardRtcp, int mediaComp)
    : heardRtp(heardRtp), heardRtcp(heardRtcp), mediaComp(mediaComp) {}

HardwareStream::~HardwareStream() {
    if (host != nullptr) host->Remove(*this);
    while (!members.IsEmpty()) Remove(*members.Head());
    if (sid) Hardware().Close(*sid);
}

bool HardwareStream::Check(bool accepted, const char* request) const {
    if (!accepted && Console != nullptr) {
        Console->Print("RTPEndPoint::%s - stream %d refused by the hardware", request, sid ? int{*sid} : -1);
    }
    return accepted;
}

void HardwareStream::SetDevice(OSIO* device) {
    const auto* phone = dynamic_cast<const PhoneDevice*>(device);
    if (phone == nullptr || asked) return;
    asked = true;
    sid = phone->Stream();
    if (!Check(Hardware().Open(*sid, phone->GetDirection()), "Open")) sid.reset();
}

void HardwareStream::Start(StreamDescription attributes) {
    attributes.heardRtp = heardRtp;
    attributes.heardRtcp = heardRtcp;
    attributes.mediaComp = mediaComp;
    Check(sid && Hardware().Describe(*sid, attributes), "SetMSA");
}

bool HardwareStream::Protect(const StreamKeys& keys) const {
    return Check(sid && Hardware().Protect(*sid, keys), "SRTPEnable");
}

void HardwareStream::SendDigit(char digit, int durationMs) const {
    Check(sid && Hardware().PlayDigit(*sid, digit, durationMs), "DTMFDigit");
}

void HardwareStream::Add(HardwareStream& member) {
    if (member.host != nullptr) return;
    if (!Check(sid && member.sid && Hardware().MixIn(*sid, *member.sid), "ConferenceAdd")) return;
    member.host = this;
    members.Append(&member);
}

void HardwareStream::Remove(HardwareStream& member) {
    if (member.host != this) return;
    member.host = nullptr;
    members.Remove(&member);
    Hardware().MixOut(*sid, *member.sid);
}

bool HardwareStream::ReadStatistics(_rtp_callstats& stats) const {
    return Check(sid && Hardware().ReadStatistics(*sid, stats), "GetStats");
}

}  // namespace media
