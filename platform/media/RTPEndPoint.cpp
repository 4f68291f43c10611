#include "platform/media/RTPEndPoint.h"

#include "platform/kernel/OSConsole.h"
#include "platform/media/RtpSession.h"

RTPEndPoint::RTPEndPoint(const SockAddr& /*localRtp*/, const SockAddr& /*localRtcp*/,
                         unsigned short syscomptype, bool software)
    : session(std::make_unique<media::RtpSession>(*this, rxdiscards, syscomptype, software)) {}

RTPEndPoint::~RTPEndPoint() = default;

void RTPEndPoint::BindMediaSource(OSIO* source) {
    if (source != nullptr) source->Bind(this);
}

void RTPEndPoint::BindMediaSink(OSIO* sink) {
    session->input.SetSink(sink);
    if (sink != nullptr) sink->Bind(this);
}

void RTPEndPoint::BindStreamData(OSIO* socket) {
    session->BindData(socket);
}

void RTPEndPoint::BindStreamControl(OSIO* socket) {
    session->BindControl(socket);
}

void RTPEndPoint::SetMSA(const SockAddr& localRtp, const SockAddr& /*localRtcp*/, const SockAddr& remoteRtp,
                         const SockAddr& remoteRtcp, int comp, int /*mfpp*/, int dtmfPayloadType) {
    media::StreamAttributes attributes;
    attributes.remoteRtp = remoteRtp;
    attributes.remoteRtcp = remoteRtcp;
    attributes.comp = comp;
    attributes.payloadType = media::PayloadTypeOf(comp);
    attributes.eventPayloadType = dtmfPayloadType;
    attributes.ulawOnNetwork = comp == media::Ulaw && session->syscomptype == media::Alaw;
    session->Start(localRtp, attributes);
}

void RTPEndPoint::SetDTMFCallback(DTMFCallback function, void* context) {
    session->input.SetDigitCallback(function, context);
}

void RTPEndPoint::DTMFDigit(char digit, int duration) {
    if (session->software) session->SendDigit(digit, duration);
}

void RTPEndPoint::ConferenceAdd(RTPEndPoint* member) {
    if (!session->software && member != nullptr) session->conference.Append(member);
}

void RTPEndPoint::ConferenceRemove(RTPEndPoint* member) {
    session->conference.Remove(member);
}

int RTPEndPoint::SRTPEnable(int tagLength, unsigned char* localSalt, unsigned char* localKey,
                            unsigned char* remoteSalt, unsigned char* remoteKey) {
    return session->Protect(tagLength, localSalt, localKey, remoteSalt, remoteKey);
}

int RTPEndPoint::GetStats(_rtp_callstats* stats) {
    if (stats == nullptr) return -1;
    session->FillStats(*stats);
    return 0;
}

OSIORetCode RTPEndPoint::DatagramIndication(OSBuf* buf, void* /*from*/, void* /*to*/) {
    return session->output.SendAudio(buf);
}

void RTPEndPoint::LowerReleased(OSIO* lower) {
    session->Release(lower);
}

void RTPEndPointOnDTMFDigit(int sid, char digit, int duration) {
    if (Console != nullptr) {
        Console->Print("RTPEndPointOnDTMFDigit - stream %d, digit %c, duration %d", sid, digit, duration);
    }
}

void RtpSetRealTimeAudio() {
    // The RTP driver carries the audio there and schedules it itself.
}
