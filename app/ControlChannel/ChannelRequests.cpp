// The requests that act on a slot that Map has set up, or will.
#include "app/ControlChannel/ControlChannel.h"
#include "app/ControlChannel/MediaPair.h"

namespace {

constexpr ULONG HoldMusicDelay = 1000;  // ms in which a Map prevents the switch to hold music

}  // namespace

void ControlChannel::OnUnmap(ControlMessage& msg) {
    Trace("OnUnmap - chan %u", msg.chan);
    MediaPair* pair = MediaPair::Get(this, msg.chan, portbase, false);
    if (pair == nullptr) {
        Trace("OnUnmap - channel %u not found!\n", msg.chan);
        return;
    }
    MediaChannel* side = pair->GetChannel(msg.chan);
    if (side->holdMusic.Address() != 0) side->holdMusicTimer.SetTimer(HoldMusicDelay);
}

void ControlChannel::OnHoldMusic(ControlMessage& msg) {
    const auto octet = msg.Octets();
    Trace("OnHoldMusic - chan %u, comp %u, addr %u.%u.%u.%u, port %u, mfpp %u", msg.chan, msg.comp, octet[0],
          octet[1], octet[2], octet[3], msg.port, msg.mfpp);
    MediaChannel* side = MediaPair::Get(this, msg.chan, portbase, true)->GetChannel(msg.chan);
    side->holdMusicCompType = msg.comp;
    side->holdMusic.Set(msg.addr, msg.port);
}

void ControlChannel::OnFreeChan(ControlMessage& msg) {
    Trace("OnFreeChan - chan %u", msg.chan);
    MediaPair* pair = MediaPair::Get(this, msg.chan, portbase, false);
    if (pair == nullptr) {
        Trace("OnFreeChan - channel %u not found!\n", msg.chan);
        return;
    }
    TraceRtpStats(*pair->internal);
    TraceRtpStats(*pair->external);
    MediaPair::Free(pair);
}

void ControlChannel::TraceRtpStats(const MediaChannel& side) const {
    _rtp_callstats stats{};
    if (side.rtpendpoint == nullptr || side.rtpendpoint->GetStats(&stats) != 0) return;
    const auto wide = [](ULONG count) { return static_cast<unsigned long>(count); };
    Trace(
        "OnFreeChan - RTP Stats: dropped pkt %lu, jitter changed %lu, seq err %lu, missed cb %lu, dsp rx "
        "full "
        "%lu, dsp tx full %lu",
        wide(stats.dropped_pkt), wide(stats.jitter_changed), wide(stats.sequence_err), wide(stats.missed_cb),
        wide(stats.dsp_rx_full), wide(stats.dsp_tx_full));
}

void ControlChannel::OnConferenceAdd(ControlMessage& msg) {
    MediaPair* slave = MediaPair::Get(this, msg.chan, portbase, false);
    MediaPair* master = MediaPair::Get(this, msg.port, portbase, false);
    Trace("OnConferenceAdd - chan %u to chan %u, master %p, slave %p", msg.chan, msg.port,
          static_cast<void*>(master), static_cast<void*>(slave));
    if (master != nullptr && slave != nullptr) master->ConferenceAdd(slave);
}

void ControlChannel::OnConferenceRemove(ControlMessage& msg) {
    MediaPair* slave = MediaPair::Get(this, msg.chan, portbase, false);
    MediaPair* master = MediaPair::Get(this, msg.port, portbase, false);
    Trace("OnConferenceRemove - chan %u from chan %u, master %p, slave %p", msg.chan, msg.port,
          static_cast<void*>(master), static_cast<void*>(slave));
    if (master != nullptr && slave != nullptr) master->ConferenceRemove(slave);
}

void ControlChannel::OnSendDigit(ControlMessage& msg) {
    Trace("OnSendDigit - chan %u", msg.chan);
    MediaPair* pair = MediaPair::Get(this, msg.chan, portbase, false);
    if (pair == nullptr) return;
    const MediaChannel& external = *pair->external;
    if (external.rtpendpoint == nullptr || external.blockDtmf) return;
    external.rtpendpoint->DTMFDigit(static_cast<char>(msg.port), static_cast<int>(msg.addr));
}
