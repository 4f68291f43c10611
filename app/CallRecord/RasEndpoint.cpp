#include "app/CallRecord/RasEndpoint.h"

#include <array>
#include <cstdio>

#include "app/Compressor/Compressor.h"
#include "platform/kernel/OSConsole.h"

namespace {
constexpr unsigned long AnswerMs = 2000;
constexpr ULONG RetryMs = 3000;
}  // namespace

RasEndpoint::RasEndpoint(Compressor* compressor, unsigned short port)
    : RasClient(port, 0), compressor(compressor) {
    retryTimer.SetCallback(_RetryTimer, this, nullptr, 0);
}

void RasEndpoint::Register(const UString* alias, const SockAddr* gatekeeper) {
    if (gatekeeper != nullptr) {
        gkaddr = *gatekeeper;
    } else {
        gkaddr.Set(0, 0);
    }
    hwid = *alias;
    Register();
}

void RasEndpoint::Register() {
    Trace("Register - registering to %s as %s", gkaddr.AddressStr().c_str(), static_cast<char*>(hwid));
    // A configuration may have been withdrawn while the retry timer ran.
    if (compressor->cfg == nullptr) return;
    RasClient::Register(gkaddr, static_cast<wchar_t*>(compressor->cfg->gkid), static_cast<wchar_t*>(hwid),
                        static_cast<char*>(hwid), AnswerMs);
    state = SentRRQ;
}

void RasEndpoint::Unregister() {
    if (state != Unregistered) RasClient::Unregister();
}

bool RasEndpoint::CallRequest(H323Call* call, const wchar_t* from, const wchar_t* to, int bandwidth) {
    return RasClient::CallRequest(call, from, to, bandwidth) != 0;
}

bool RasEndpoint::CallFinished(H323Call* call, int reason) {
    return RasClient::CallFinished(call, reason, nullptr) != 0;
}

void RasEndpoint::Trace(const char* fmt, ...) {
    std::array<char, 1024> line{};
    const int prefix = snprintf(line.data(), line.size(), "%p RasEndpoint::", static_cast<void*>(this));
    va_list args;
    va_start(args, fmt);
    vsnprintf(line.data() + prefix, line.size() - static_cast<std::size_t>(prefix), fmt, args);
    va_end(args);
    Console->Print("%s", line.data());
}

bool RasEndpoint::OnRCF(RasMessage& message, SockAddr& from) {
    return RasClient::OnRCF(message, from);
}

bool RasEndpoint::OnRRJ(RasMessage& message, SockAddr& from) {
    Trace("OnRRJ");
    return RasClient::OnRRJ(message, from);
}

bool RasEndpoint::OnRegistered() {
    Trace("OnRegistered");
    state = Registered;
    return true;
}

bool RasEndpoint::OnUnregistered() {
    Trace("OnUnregistered");
    if (state != Unregistered) RetryLater();
    return true;
}

void RasEndpoint::OnGRQ_Timeout(RasTransaction* t) {
    Trace("OnGRQ_Timeout");
    RasClient::OnGRQ_Timeout(t);
}

void RasEndpoint::OnRRQ_Timeout(RasTransaction* t) {
    RasClient::OnRRQ_Timeout(t);
    RetryLater();
}

void RasEndpoint::RetryLater() {
    state = Unregistered;
    retryTimer.SetTimer(RetryMs);
}

void RasEndpoint::_RetryTimer(OSObj* endpoint, void* /*param*/, unsigned long /*value*/) {
    static_cast<RasEndpoint*>(endpoint)->Register();
}
