// How the RAS client keeps its registration, and what becomes of requests without an answer.
#include <algorithm>

#include "platform/h323/RasClient.h"
#include "platform/kernel/Clock.h"

using namespace h323;

namespace {

constexpr ULONG LongestKeepAliveWait = 2000;        // [ms]
constexpr std::uint32_t LongestTimeToLive = 86400;  // [s]; keeping alive more often than asked harms nobody

}  // namespace

// The first light RRQ goes out after half of the time to live, another after each further eighth of it while
// none is answered: three may be lost, each sent three times, before the gatekeeper would forget us.
bool RasClient::OnRCF(RasMessage& message, SockAddr& /*from*/) {
    const auto* rcf = message.As<RegistrationConfirm>();
    const bool begins = phase == Phase::Registering;
    phase = Phase::Registered;
    endpointIdentifier = rcf->endpointIdentifier.text;
    if (rcf->gatekeeperIdentifier) discovered = rcf->gatekeeperIdentifier->text;
    timeToLive = rcf->timeToLive ? std::min<std::uint32_t>(*rcf->timeToLive, LongestTimeToLive) * 1000 : 0;
    confirmedAt = os_clock();
    keepAliveTimer.Cancel();
    if (timeToLive != 0) keepAliveTimer.SetTimer(timeToLive / 2);
    return begins ? OnRegistered() : true;
}

// A refused registration is over; a refused keep-alive means that the gatekeeper no longer knows us.
bool RasClient::OnRRJ(RasMessage& message, SockAddr& from) {
    if (phase == Phase::Registered) {
        Lost(message.Summary().c_str());
        return true;
    }
    phase = Phase::Idle;
    Trace("OnRRJ - %s from %s:%u", message.Summary().c_str(), from.AddressStr().c_str(), from.Port());
    return true;
}

bool RasClient::OnRegistered() {
    return true;
}

bool RasClient::OnUnregistered() {
    return true;
}

void RasClient::OnGRQ_Timeout(RasTransaction* /*transaction*/) {
    if (infoTrace != 0) Trace("OnGRQ_Timeout - %zu replies", replies.size());
}

void RasClient::OnRRQ_Timeout(RasTransaction* transaction) {
    phase = Phase::Idle;
    Trace("OnRRQ_Timeout - no answer from %s:%u", transaction->Destination().AddressStr().c_str(),
          transaction->Destination().Port());
}

void RasClient::OnURQ_Timeout(RasTransaction* /*transaction*/) {
    Lost("no answer to URQ");
}

void RasClient::_DiscoveryOver(OSObj* client, void* transaction, unsigned long /*value*/) {
    static_cast<RasClient*>(client)->OnGRQ_Timeout(static_cast<RasTransaction*>(transaction));
}

void RasClient::_RegistrationOver(OSObj* client, void* transaction, unsigned long /*value*/) {
    static_cast<RasClient*>(client)->OnRRQ_Timeout(static_cast<RasTransaction*>(transaction));
}

void RasClient::_KeepAliveOver(OSObj* client, void* /*transaction*/, unsigned long /*value*/) {
    static_cast<RasClient*>(client)->KeepAliveOver();
}

void RasClient::_UnregistrationOver(OSObj* client, void* transaction, unsigned long /*value*/) {
    static_cast<RasClient*>(client)->OnURQ_Timeout(static_cast<RasTransaction*>(transaction));
}

void RasClient::_KeepAliveDue(OSObj* client, void* /*param*/, unsigned long /*value*/) {
    static_cast<RasClient*>(client)->KeepAliveDue();
}

void RasClient::KeepAliveDue() {
    if (os_expired(confirmedAt, timeToLive) != 0) return Lost("keep-alive not answered");
    Ask(keepAlive, MakeRRQ(true), gatekeeper, std::min(KeepAliveStep(), LongestKeepAliveWait));
}

void RasClient::KeepAliveOver() {
    keepAliveTimer.SetTimer(KeepAliveStep() - std::min(KeepAliveStep(), LongestKeepAliveWait));
}

void RasClient::StopRegistration() {
    registration.End();
    keepAlive.End();
    keepAliveTimer.Cancel();
}

void RasClient::Lost(const char* why) {
    StopRegistration();
    phase = Phase::Idle;
    Trace("Unregistered - %s", why);
    OnUnregistered();
}
