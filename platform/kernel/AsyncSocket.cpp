// UDP sockets in a thread's loop.
#include "platform/kernel/AsyncSocket.h"

#include <netinet/ip.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "platform/kernel/Interfaces.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/OperatingSystem.h"
#include "platform/kernel/RateLimit.h"
#include "platform/kernel/StrangerSocket.h"
#include "platform/kernel/TriggerLoop.h"

ULONG AsyncSocket::local_ipaddr = 0;
int AsyncSocket::trace = 0;
std::atomic<OSIndirectList<AsyncSocket>*> AsyncSocket::sockets = nullptr;

namespace {

constexpr int SignallingTrace = 1;
constexpr int MediaTrace = 2;
constexpr int MediaPriority = 6;  // interactive, in the host's queueing discipline

std::atomic<bool> stopped{false};

std::mutex& ListLock() {
    static std::mutex lock;
    return lock;
}

void TraceDatagram(const char* direction, const SockAddr& peer, std::size_t bytes) {
    Console->Print("AsyncSocket::%s - %s:%u, %zu bytes", direction, peer.AddressStr().c_str(), peer.Port(),
                   bytes);
}

void ReportDropped(RateLimit& limit, const char* why, const SockAddr& from, int port, std::size_t bytes) {
    if (Console == nullptr || !limit.Allow()) return;
    Console->Print("AsyncSocket::Deliver - %s from %s:%u dropped at port %d (%zu bytes)", why,
                   from.AddressStr().c_str(), from.Port(), port, bytes);
}

void ReportSendFailure(const SockAddr& to, int error) {
    static RateLimit limit;
    if (Console == nullptr || !limit.Allow()) return;
    Console->Print("AsyncSocket::DatagramIndication - send to %s:%u failed %d", to.AddressStr().c_str(),
                   to.Port(), error);
}

}  // namespace

AsyncSocket::AsyncSocket(bool signalling) : loop(kernel::TriggerLoop::Current()), signalling(signalling) {}

AsyncSocket::~AsyncSocket() = default;

int AsyncSocket::Create(int type, int port, ULONG address, bool media) {
    if (type != Datagram || port < 0 || port > 0xFFFF) return EINVAL;
    const int error = socket.Open(SockAddr(address, static_cast<UWORD>(port)), false);
    if (error == 0 && media) socket.SetOption(SOL_SOCKET, SO_PRIORITY, MediaPriority);
    return Register(error);
}

int AsyncSocket::CreateMulticast(const SockAddr& group, MulticastMode /*mode*/, ULONG interfaceAddress) {
    if (!group.IsMulticast()) return EINVAL;
    int error = socket.Open(group, true);
    if (error != 0) return error;
    // Without this a socket hears every group that any process of the host has joined on its port.
    socket.SetOption(IPPROTO_IP, IP_MULTICAST_ALL, 0);
    ip_mreqn membership{};
    membership.imr_multiaddr.s_addr = htonl(group.Address());
    membership.imr_ifindex = static_cast<int>(kernel::MulticastInterface(interfaceAddress));
    error = socket.SetOption(IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof membership);
    return Register(error);
}

int AsyncSocket::Register(int error) {
    if (error == 0 && loop != nullptr) error = loop->Add(*this, socket.Descriptor());
    if (error != 0) {
        socket.Close();
        return error;
    }
    const std::lock_guard<std::mutex> guard(ListLock());
    if (sockets == nullptr) sockets = new OSIndirectList<AsyncSocket>;
    sockets.load()->Append(this);
    if (trace >= SignallingTrace && Console != nullptr) {
        Console->Print("AsyncSocket::Create - %p, port %d", static_cast<void*>(this), LocalPort());
    }
    return 0;
}

void AsyncSocket::Connect(const SockAddr& newPeer) {
    connected = false;
    peer = newPeer;
    connected.store(!signalling && ConnectMedia(), std::memory_order_release);
}

// The system keeps the route of a connected socket, so that a send costs an eighth less. What it then
// withholds comes by the strangers' socket: who is heard is decided by Deliver alone, connected or not.
bool AsyncSocket::ConnectMedia() {
    if (loop == nullptr || peer.Address() == 0 || peer.Port() == 0) return false;
    if (strangers == nullptr) {
        auto opened = std::make_unique<kernel::StrangerSocket>(*this, loop);
        if (opened->Open(socket) != 0) return false;
        strangers = std::move(opened);
    }
    return kernel::System().ConnectSocket(socket.Descriptor(), peer.Native()) == 0;
}

void AsyncSocket::SetDiffServ(UBYTE byte) {
    socket.SetOption(IPPROTO_IP, IP_TOS, byte);
}

int AsyncSocket::SetMulticastInterface(ULONG address) {
    ip_mreqn interface {};
    interface.imr_ifindex = static_cast<int>(kernel::MulticastInterface(address));
    return socket.SetOption(IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface);
}

OSIORetCode AsyncSocket::DatagramIndication(OSBuf* buf, void* /*from*/, void* to) {
    const SockAddr destination = to != nullptr ? *static_cast<const SockAddr*>(to) : peer;
    const sockaddr_in address = destination.Native();
    const sockaddr_in* name =
        connected.load(std::memory_order_acquire) && destination == peer ? nullptr : &address;
    ssize_t sent = -1;
    int error = EDESTADDRREQ;
    // An error that an earlier datagram met may be reported by this one, which has then not been sent.
    for (int attempt = 0;
         attempt < 2 && destination.Address() != 0 && !stopped.load(std::memory_order_relaxed); ++attempt) {
        sent = kernel::System().SendDatagram(socket.Descriptor(), buf->Data(), name);
        error = sent < 0 ? errno : 0;
        if (error != ECONNREFUSED) break;
    }
    if (trace >= (signalling ? SignallingTrace : MediaTrace)) TraceDatagram("Send", destination, buf->len);
    buf->Free();
    if (sent >= 0) return Success;
    sendErrors.fetch_add(1, std::memory_order_relaxed);
    if (!stopped.load(std::memory_order_relaxed)) ReportSendFailure(destination, error);
    return Blocked;
}

void AsyncSocket::Read(Socket& from) {
    bool gone = false;
    destroyed = &gone;
    const bool signals = signalling;  // and may carry keys
    const std::shared_ptr<kernel::TriggerLoop> keeper = loop;
    kernel::ReceiveBatch& batch = keeper->Batch();
    // A negative count is an error that an earlier send met (ICMP) or nothing to read: the socket stays as it
    // is.
    const int count = kernel::System().ReceiveDatagrams(from.Descriptor(), batch.Prepare(room));
    room = RoomAfter(count);
    for (int i = 0; i < count && !gone && !stopped.load(std::memory_order_relaxed); ++i) {
        Deliver(batch.Bytes(i), batch.From(i), batch.IsTruncated(i));
        if (signals) batch.Wipe(i);
    }
    if (!gone) destroyed = nullptr;
}

// Asking for more than there are makes a read dearer by half, so that this is for datagrams that come faster
// than they are read.
int AsyncSocket::RoomAfter(int count) {
    if (count < room) return 1;
    const ULONG turn = loop->Turn();
    const bool again = turn - fullTurn == 1;
    fullTurn = turn;
    return again || loop->IsBusy() ? std::min(2 * room, kernel::ReceiveBatch::Datagrams) : room;
}

void AsyncSocket::Deliver(std::span<const UBYTE> datagram, const SockAddr& from, bool truncated) {
    static RateLimit truncatedLimit;
    static RateLimit refusedLimit;
    if (truncated) {
        ReportDropped(truncatedLimit, "oversized datagram", from, LocalPort(), datagram.size());
        return;
    }
    if (peer.Address() != 0 && !(from == peer)) {
        refused.fetch_add(1, std::memory_order_relaxed);
        ReportDropped(refusedLimit, "datagram of a stranger", from, LocalPort(), datagram.size());
        return;
    }
    if (trace >= (signalling ? SignallingTrace : MediaTrace)) TraceDatagram("Receive", from, datagram.size());
    if (Bound() == nullptr) return;
    const int bytes = static_cast<int>(datagram.size());
    OSBuf* buf = OSBuf::Alloc(bytes);
    buf->PushData(datagram.data(), bytes);
    SockAddr source = from;
    Bound()->DatagramIndication(buf, &source, nullptr);
}

void AsyncSocket::Free() {
    if (Bound() != nullptr) Bound()->LowerReleased(this);
    UnBind();
    if (destroyed != nullptr) *destroyed = true;
    strangers.reset();
    if (socket.IsOpen()) {
        if (loop != nullptr) loop->Remove(*this, socket.Descriptor());
        const std::lock_guard<std::mutex> guard(ListLock());
        sockets.load()->Remove(this);
    }
    delete this;
}

void AsyncSocket::Cleanup() {
    stopped = true;
}
