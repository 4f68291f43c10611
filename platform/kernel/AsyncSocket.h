// A UDP socket in the loop of the thread that creates it: datagrams that arrive reach the bound OSIO's
// DatagramIndication on that thread, and its own DatagramIndication sends.
//
// Sending is for any thread as long as the owner does not free the socket meanwhile. A send error never
// closes or wedges the socket: the datagram is dropped and counted. One wake-up reads at most a batch of
// datagrams, so that a flooded socket cannot starve the others of its thread.
#pragma once

#include <atomic>
#include <memory>

#include "platform/kernel/OSIO.h"
#include "platform/kernel/Readable.h"
#include "platform/kernel/Socket.h"

namespace kernel {
class StrangerSocket;
class TriggerLoop;
}  // namespace kernel

class AsyncSocket : public OSIO, private kernel::Readable {
 public:
    enum MulticastMode { McReceiveOnly = 1 };

    static constexpr int Datagram = 2;

    // `signalling`: each datagram is shown at trace level 1 already; media sockets are shown at level 2.
    explicit AsyncSocket(bool signalling);

    // Binds to `address` (host order, 0: all) and `port` (0: chosen by the system), and reads from then on.
    // `media`: goes out before bulk. 0, or the errno of what failed; a port beyond 65535
    // is EINVAL.
    int Create(int type, int port, ULONG address, bool media);
    // Receives what is sent to the multicast group and port `group`, and only that; other sockets may share
    // both. `interfaceAddress` 0: the interface of the primary address, else as routing has it. 0 or errno.
    int CreateMulticast(const SockAddr& group, MulticastMode mode, ULONG interfaceAddress);

    // From then on only datagrams of `peer` are delivered (others are counted as refused), and `peer` is
    // where datagrams without a destination go.
    void Connect(const SockAddr& peer);
    // The DiffServ byte of what is sent.
    void SetDiffServ(UBYTE byte);
    // The interface by which multicast is sent: the one that carries `address` (0: as routing has it). 0 or
    // errno.
    int SetMulticastInterface(ULONG address);

    // Sends `buf`'s data to the SockAddr `to`, or to the connected peer when null, and frees it. `from` is
    // ignored.
    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;

    // Tells the bound object (OSIO::LowerReleased), closes and destroys; the pointer is gone. The owner's
    // thread.
    void Free();

    bool IsMedia() const override { return !signalling; }
    int LocalPort() const { return socket.LocalPort(); }
    ULONG RefusedCount() const { return refused.load(std::memory_order_relaxed); }
    ULONG SendErrors() const { return sendErrors.load(std::memory_order_relaxed); }

    // Host-wide set-up, by the main thread at start.
    static void SetPrimaryAddress(ULONG address);
    // -1: the host's primary address; else the source address that routing would use towards `address`. 0:
    // none (yet).
    static ULONG LookupIface(ULONG address);
    // The MAC address of the interface that carries the primary address, or where that has none, of the first
    // that has one. `permanent` is false. False, with `mac` untouched, when there is none.
    static bool LookupInterfaceMac(UBYTE* mac, bool permanent);
    // At exit: from now on nothing is sent or delivered; sockets that are left are closed with the process.
    static void Cleanup();

    static ULONG local_ipaddr;  // the primary address that was set, 0 when none was
    static int trace;           // 0 off, 1 sockets and signalling datagrams, 2 every datagram
    // Every created socket; null when none ever was. Any thread may read its size.
    static std::atomic<OSIndirectList<AsyncSocket>*> sockets;

 private:
    friend class kernel::StrangerSocket;
    ~AsyncSocket() override;
    int Register(int error);
    bool ConnectMedia();
    void OnReadable() override { Read(socket); }
    // Reads one batch of what has come to the port, and delivers it.
    void Read(Socket& from);
    // How many to ask for next, when there were `count` now.
    int RoomAfter(int count);
    void Deliver(std::span<const UBYTE> datagram, const SockAddr& from, bool truncated);

    Socket socket;
    std::shared_ptr<kernel::TriggerLoop> loop;
    SockAddr peer;
    const bool signalling;
    std::atomic<bool> connected{false};  // in the system too; then other threads may read `peer`
    std::unique_ptr<kernel::StrangerSocket> strangers;
    int room = 1;               // datagrams to ask for
    ULONG fullTurn = 0;         // the loop's turn that last found so many
    bool* destroyed = nullptr;  // set while a batch is delivered; Free reports through it
    std::atomic<ULONG> refused{0};
    std::atomic<ULONG> sendErrors{0};
};
