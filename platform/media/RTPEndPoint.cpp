#include "platform/media/RTPEndPoint.h"

#include "platform/kernel/OSConsole.h"
#include "platform/media/HardwareStream.h"
#include "platform/media/RtpSession.h"

RTPEndPoint::RTPEndPoint(const SockAddr& localRtp, const SockAddr& localRtcp, unsigned short syscomptype,
                         bool software) {
    if (software) {
        session = std::make_unique<media::RtpSession>(*this, rxdiscards, syscomptype);
    } else {
        stream = std::make_unique<media::HardwareStream>(localRtp, localRtcp, syscomptype);
    }
}

RTPEndPoint::~RTPEndPoint() = default;

void RTPEndPoint::BindMediaSource(OSIO* source) {
    if (source != nullptr) source->Bind(this);
    if (stream) stream->SetDevice(source);
}

void RTPEndPoint::BindMediaSink(OSIO* sink) {
    if (sink != nullptr) sink->Bind(this);
    if (session) session->input.SetSink(sink);
    if (stream) stream->SetDevice(sink);
}

void RTPEndPoint::BindStreamData(OSIO* socket) {
    if (session) session->BindData(socket);
}

void RTPEndPoint::BindStreamControl(OSIO* socket) {
    if (session) session->BindControl(socket);
}

void RTPEndPoint::SetMSA(const SockAddr& localRtp, const SockAddr& localRtcp, const SockAddr& remoteRtp,
                         const SockAddr& remoteRtcp, int comp, int mfpp, int dtmfPayloadType) {
    if (stream) {
        media::StreamDescription description;
        description.localRtp = localRtp;
        description.localRtcp = localRtcp;
        description.remoteRtp = remoteRtp;
        description.remoteRtcp = remoteRtcp;
        description.comp = comp;
        description.mfpp = mfpp;
        description.dtmfPayloadType = dtmfPayloadType;
        stream->Start(description);
        return;
    }
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
    if (session) session->input.SetDigitCallback(function, context);
}

void RTPEndPoint::DTMFDigit(char digit, int duration) {
    if (session) session->SendDigit(digit, duration);
    if (stream) stream->SendDigit(digit, duration);
}

void RTPEndPoint::ConferenceAdd(RTPEndPoint* member) {
    if (stream && member != nullptr && member->stream) stream->Add(*member->stream);
}

void RTPEndPoint::ConferenceRemove(RTPEndPoint* member) {
    if (stream && member != nullptr && member->stream) stream->Remove(*member->stream);
}

int RTPEndPoint::SRTPEnable(int tagLength, unsigned char* localSalt, unsigned char* localKey,
                            unsigned char* remoteSalt, unsigned char* remoteKey) {
    std::optional<media::StreamKeys> keys;
    if (localSalt != nullptr && localKey != nullptr && remoteSalt != nullptr && remoteKey != nullptr) {
        using Srtp = media::SrtpSession;
        keys.emplace(media::StreamKeys{
            tagLength, Srtp::Salt(localSalt, Srtp::SaltSize), Srtp::Key(localKey, Srtp::KeySize),
            Srtp::Salt(remoteSalt, Srtp::SaltSize), Srtp::Key(remoteKey, Srtp::KeySize)});
    }
    const bool accepted = session ? session->Protect(keys) : keys && stream->Protect(*keys);
    return accepted ? 0 : -1;
}

int RTPEndPoint::GetStats(_rtp_callstats* stats) {
    if (stats == nullptr) return -1;
    if (stream) return stream->ReadStatistics(*stats) ? 0 : -1;
    session->FillStats(*stats);
    return 0;
}

OSIORetCode RTPEndPoint::DatagramIndication(OSBuf* buf, void* from, void* to) {
    return session ? session->output.SendAudio(buf) : OSIO::DatagramIndication(buf, from, to);
}

void RTPEndPoint::LowerReleased(OSIO* lower) {
    if (session) session->Release(lower);
}

void RTPEndPointOnDTMFDigit(int sid, char digit, int duration) {
    if (Console != nullptr) {
        Console->Print("RTPEndPointOnDTMFDigit - stream %d, digit %c, duration %d", sid, digit, duration);
    }
}

void RtpSetRealTimeAudio() {
    media::Hardware().StartRealTime();
}
