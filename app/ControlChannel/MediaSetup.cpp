// How a leg gets, starts and loses its sockets, endpoint and media device.
#include "app/ControlChannel/MediaChannel.h"
#include "app/ControlChannel/MediaPair.h"
#include "app/Globals.h"
#include "platform/media/PhoneDevice.h"

namespace {

constexpr UBYTE diffserv = 0xB8;  // expedited forwarding (RFC 3246), code point 46

constexpr UBYTE DefaultG729Frames = 3;
constexpr UBYTE DefaultMilliseconds = 30;

UBYTE DefaultMfpp(ControlMessage::CompType comp) {
    return comp == ControlMessage::G729 ? DefaultG729Frames : DefaultMilliseconds;
}

MediaChannel::SocketPtr CreateSocket(bool signalling, ULONG addr, int port) {
    MediaChannel::SocketPtr socket(new AsyncSocket(signalling));
    if (socket->Create(AsyncSocket::Datagram, port, addr, true) != 0) return nullptr;
    socket->SetDiffServ(diffserv);
    return socket;
}

SockAddr Port(ULONG address, int port) {
    return {address, static_cast<UWORD>(port)};
}

}  // namespace

void MediaChannel::Teardown() {
    const CriticalSectionLock held(parent->cs);
    rtpsocket.reset();
    rtcpsocket.reset();
    mcsocket.reset();
    if (phoneDevice) phoneDevice->UnBind();
    phoneDevice.reset();
    rtpendpoint.reset();
    relay.reset();
    last_rxdiscard_count = 0;  // the next endpoint counts from 0
}

int MediaChannel::CreateRTPSockets(ULONG addr, int port) {
    rtpsocket = CreateSocket(false, addr, port);
    rtcpsocket = CreateSocket(true, addr, port + 1);
    return rtpsocket && rtcpsocket ? 0 : -1;
}

void MediaChannel::SetFormat(CompType comp, UBYTE mfpp) {
    msa.sid = static_cast<UWORD>(FirstStream + chan);
    msa.streams = 1;
    msa.comp = comp;
    msa.mfpp = mfpp;
}

void MediaChannel::Setup(CompType comp, ULONG addr, UWORD port, UBYTE mfpp, UBYTE flags) {
    const CriticalSectionLock held(parent->cs);
    Teardown();
    const ULONG locaddr = AsyncSocket::LookupIface(addr);
    msa.remoteRtp = Port(addr, port);
    msa.remoteRtcp = Port(addr, port + 1);
    const bool g711 = comp == ControlMessage::Alaw || comp == ControlMessage::Ulaw;
    if (g711 && mfpp != 0 && mfpp <= 9) {
        Trace("Setup - maxFramesPerPkt (%d) too small!", mfpp);
        mfpp = 0;
    }
    SetFormat(comp, mfpp != 0 ? mfpp : DefaultMfpp(comp));
    doRelay = (flags & ControlMessage::FlagRelay) != 0;
    blockDtmf = (flags & ControlMessage::FlagBlockDtmf) != 0;
    Trace("Setup - relay %d, blockDtmf %d", doRelay, blockDtmf);

    if (CreateRTPSockets(locaddr, locport) != 0) {
        Trace("MediaChannel - failed to create sockets!");
        return;
    }
    OpenEndpoint(Port(locaddr, locport), Port(locaddr, locport + 1), false);
    if (!real_hardware) {
        rtpendpoint->BindStreamData(rtpsocket.get());
        rtpendpoint->BindStreamControl(rtcpsocket.get());
        rtpendpoint->relayOption = true;
    }
    rtpsocket->Connect(msa.remoteRtp);
    rtcpsocket->Connect(msa.remoteRtcp);
}

void MediaChannel::SetupHoldMusic(CompType comp, ULONG group, UWORD port) {
    const CriticalSectionLock held(parent->cs);
    Teardown();
    msa.remoteRtp = SockAddr();
    msa.remoteRtcp = SockAddr();
    SetFormat(comp, DefaultMfpp(comp));

    mcsocket.reset(new AsyncSocket(false));
    if (mcsocket->CreateMulticast(Port(group, port), AsyncSocket::McReceiveOnly, 0) != 0) {
        mcsocket.reset();
        Trace("Setup - failed to create multicast socket!");
        return;
    }
    OpenEndpoint(Port(group, port), Port(group, port + 1), true);
    if (real_hardware) return;
    rtpendpoint->BindStreamData(mcsocket.get());
    if (this == parent->external.get()) rtpendpoint->relayOption = true;
}

// Makes the endpoint and binds the media device that belongs to where the audio is carried.
void MediaChannel::OpenEndpoint(const SockAddr& mediaAddr, const SockAddr& controlAddr, bool isHoldMusic) {
    const CompType syscomptype = doRelay ? ControlMessage::Relay : ControlMessage::Alaw;
    rtpendpoint = std::make_unique<RTPEndPoint>(mediaAddr, controlAddr, static_cast<UWORD>(syscomptype),
                                                !real_hardware);
    MediaDevice* device = nullptr;
    if (real_hardware) {
        phoneDevice = std::make_unique<PhoneDevice>(msa.sid, PhoneDevice::InputOutput);
        device = phoneDevice.get();
    } else {
        relay = std::make_unique<MediaRelay>(this, isHoldMusic);
        device = relay.get();
        rtpendpoint->SetDTMFCallback(RtpDtmfCallback, this);
    }
    rtpendpoint->BindMediaSource(device);
    rtpendpoint->BindMediaSink(device);
}

void MediaChannel::Start(CompType /*comp*/, ULONG addr, UWORD /*port*/) {
    const CriticalSectionLock held(parent->cs);
    if (rtpendpoint == nullptr) return;
    const ULONG locaddr = AsyncSocket::LookupIface(addr);
    const SockAddr mediaAddr = Port(locaddr, locport);
    const SockAddr controlAddr = Port(locaddr, locport + 1);
    Trace("Setup - rtpendpoint->SetMSA(%08x:%u, %08x:%u, %08x:%u, %08x:%u, %u, %u)", mediaAddr.Address(),
          mediaAddr.Port(), controlAddr.Address(), controlAddr.Port(), msa.remoteRtp.Address(),
          msa.remoteRtp.Port(), msa.remoteRtcp.Address(), msa.remoteRtcp.Port(), msa.comp, msa.mfpp);
    rtpendpoint->SetMSA(mediaAddr, controlAddr, msa.remoteRtp, msa.remoteRtcp, msa.comp, msa.mfpp,
                        media::DtmfPayloadType);
    if (real_hardware) RestoreConference();
}

// A new endpoint knows nothing of the conference links of the one that it replaced.
void MediaChannel::RestoreConference() const {
    if (conferenced_to != nullptr && conferenced_to->rtpendpoint)
        conferenced_to->rtpendpoint->ConferenceAdd(rtpendpoint.get());
    for (const MediaChannel* member : conferenced_with)
        if (member->rtpendpoint) rtpendpoint->ConferenceAdd(member->rtpendpoint.get());
}
