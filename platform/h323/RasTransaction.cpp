#include "platform/h323/RasTransaction.h"

#include <utility>

RasTransaction::RasTransaction(OSCallback::Function onTimeOut, OSObj* owner)
    : timer(0, 0), onTimeOut(onTimeOut), owner(owner) {
    timer.SetCallback(_Expired, this, nullptr, 0);
}

bool RasTransaction::Begin(OSIO* via, std::vector<UBYTE> octets, UWORD number, const SockAddr& to, ULONG ms) {
    socket = via;
    datagram = std::move(octets);
    sequence = number;
    destination = to;
    pending = true;
    attemptsLeft = Attempts;
    extensionsLeft = Extensions;
    step = ms / Attempts;
    left = ms;
    return Attempt();
}

void RasTransaction::End() {
    pending = false;
    timer.Cancel();
}

bool RasTransaction::IsAnsweredBy(UWORD number, const SockAddr& from) const {
    if (!pending || number != sequence) return false;
    return destination.IsMulticast() || destination.Address() == from.Address();
}

void RasTransaction::Extend(ULONG ms) {
    if (!pending || extensionsLeft == 0) return;
    --extensionsLeft;
    attemptsLeft = 1;
    left = step;
    timer.SetTimer(ms);
}

bool RasTransaction::Attempt() {
    const ULONG wait = left / attemptsLeft;
    left -= wait;
    --attemptsLeft;
    timer.SetTimer(wait);
    if (destination.Address() == 0 || datagram.empty()) return false;
    OSBuf* buf = OSBuf::Alloc(static_cast<int>(datagram.size()));
    buf->PushData(datagram.data(), static_cast<int>(datagram.size()));
    return socket->DatagramIndication(buf, nullptr, &destination) == Success;
}

void RasTransaction::_Expired(OSObj* transaction, void* /*param*/, unsigned long /*value*/) {
    static_cast<RasTransaction*>(transaction)->Expired();
}

void RasTransaction::Expired() {
    if (attemptsLeft > 0) {
        Attempt();
        return;
    }
    End();
    onTimeOut(owner, this, 0);
}
