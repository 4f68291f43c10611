// The endpoint's side of H.225.0 RAS: finds gatekeepers, registers with one, and keeps the registration.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/h323/Ras.h"
#include "platform/h323/RasGkInfo.h"
#include "platform/h323/RasMessage.h"
#include "platform/h323/RasTransaction.h"
#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/OSListObj.h"

class H323Call;
struct _rtp_callstats;

// Belongs to the thread that creates it, which needs a trigger loop: every operation and hook runs there. A
// derived class overrides the hooks; an override that replaces more than a report calls the base's. Wide
// texts hold one character each, narrow ones are UTF-8.
class RasClient : public OSListObj, public OSIO, public Ras {
 public:
    // Opens the UDP port (0: chosen by the system). When that fails the console says so, and every request
    // runs into its time-out. The second argument is 0.
    RasClient(unsigned short port, unsigned long reserved);
    ~RasClient() override;

    // Asks for gatekeepers for `ms` milliseconds, in the name of `alias` (null and empty ones are left out):
    // at `gatekeeper` (port 0: 1718), or by multicast when that is null. The answers stand in `replies` when
    // OnGRQ_Timeout is called; a request to one gatekeeper ends with its answer. 1, or 0 when nothing could
    // be sent: the time-out follows all the same.
    int FindGatekeeper(const wchar_t* alias, int ms, const SockAddr* gatekeeper);

    // Registers `alias` at `gatekeeper` (port 0: 1719), in place of an earlier registration. The outcome
    // arrives as OnRCF and OnRegistered, OnRRJ, or, after `ms` milliseconds or with address 0, OnRRQ_Timeout.
    // From then on the registration is kept until OnUnregistered. `gkid` is not sent: the identifier learnt
    // in the search for gatekeepers, by whichever client of the process, is. `name` is the alias for traces.
    // 1, or 0 when nothing could be sent.
    int Register(const SockAddr& gatekeeper, const wchar_t* gkid, const wchar_t* alias, const char* name,
                 unsigned long ms);

    // Withdraws the registration, or a request for one. The request has left when this returns, so the client
    // may be destroyed at once; otherwise OnUnregistered follows, whatever the gatekeeper answers.
    void Unregister();

    // Admission and disengage of calls: there is no call signalling, so the answer is 0.
    int CallRequest(H323Call* call, const wchar_t* from, const wchar_t* to, int bandwidth);
    int CallFinished(H323Call* call, int reason, _rtp_callstats* stats);

    bool IsRegistered() const { return phase == Phase::Registered; }
    // The UDP port, 0 when it could not be opened.
    UWORD GetPort() const { return static_cast<UWORD>(socket->LocalPort()); }

    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;

    // What the module tells its gatekeeper with each registration (h323::ModuleData); set before the first.
    UWORD controlPort = 0;          // UDP port of the control channel; also the port of the callSignalAddress
    UWORD compressionBase = 0;      // RTP port base
    ULONG compressionQuantity = 0;  // channels that transcode
    ULONG relayQuantity = 0;        // channels that only relay

    // The gatekeepers that answered the latest request, in the order of arrival, each once. At most
    // `MostReplies`.
    std::vector<RasGkInfo> replies;
    static constexpr std::size_t MostReplies = 64;

 protected:
    // Every report of the client; the base writes it to the console.
    [[gnu::format(printf, 2, 3)]] virtual void Trace(const char* fmt, ...);

    // An answer to the pending request, which is over. True when it was of use. Base: see the sources'
    // operations.
    virtual bool OnGCF(RasMessage& message, SockAddr& from);
    virtual bool OnGRJ(RasMessage& message, SockAddr& from);
    virtual bool OnRCF(RasMessage& message, SockAddr& from);
    virtual bool OnRRJ(RasMessage& message, SockAddr& from);

    // The registration began, or has ended by whatever cause. Base: true.
    virtual bool OnRegistered();
    virtual bool OnUnregistered();

    // The search is over: time-out or the answer of the one gatekeeper asked.
    virtual void OnGRQ_Timeout(RasTransaction* transaction);
    // No answer to a registration request.
    virtual void OnRRQ_Timeout(RasTransaction* transaction);
    // No answer to a withdrawal. Base: the registration is over all the same.
    virtual void OnURQ_Timeout(RasTransaction* transaction);

 private:
    enum class Phase { Idle, Registering, Registered, Unregistering };

    // Why a message is dropped; each kind is reported at most once a second.
    enum class Refusal { Malformed, NotAsked, Stranger, NotServed, NotRegistered, NoAddress, TooMany, Kinds };

    static void _DiscoveryOver(OSObj* client, void* transaction, unsigned long value);
    static void _RegistrationOver(OSObj* client, void* transaction, unsigned long value);
    static void _KeepAliveOver(OSObj* client, void* transaction, unsigned long value);
    static void _UnregistrationOver(OSObj* client, void* transaction, unsigned long value);
    static void _KeepAliveDue(OSObj* client, void* param, unsigned long value);

    // Sending (RasClient.cpp).
    bool Ask(RasTransaction& transaction, const RasMessage& request, const SockAddr& to, ULONG ms);
    void TraceMessage(const char* direction, const RasMessage& message, const SockAddr& peer);
    UWORD NextSequence();
    h323::TransportAddress RasAddressTowards(ULONG peer) const;
    h323::TransportAddress CallSignalAddress() const;
    RasMessage MakeGRQ(const SockAddr& to);
    RasMessage MakeRRQ(bool light);
    RasMessage MakeURQ();

    // Receiving (RasClientReceive.cpp).
    void Receive(RasMessage& message, SockAddr& from, std::span<const UBYTE> datagram);
    void ReceiveAnswer(RasMessage& message, SockAddr& from);
    void ReceiveDiscoveryAnswer(RasMessage& message, SockAddr& from);
    void ReceiveRegistrationAnswer(RasMessage& message, SockAddr& from);
    void ReceiveUnregistrationAnswer(RasMessage& message, SockAddr& from);
    void OnRIP(const RasMessage& message, const SockAddr& from);
    void OnURQ(const RasMessage& message, const SockAddr& from);
    void OnIRQ(const RasMessage& message, const SockAddr& from);
    void OnUnserved(const RasMessage& message, const SockAddr& from, std::span<const UBYTE> datagram);
    void Answer(h323::RasMessageBody answer, const SockAddr& to);
    bool IsOurGatekeeper(const SockAddr& from) const;
    bool NamesOurRegistration(const h323::UnregistrationRequest& urq, const SockAddr& from) const;
    void Refuse(Refusal kind, const SockAddr& from, const RasMessage* message);

    // Keeping the registration (RasClientKeepAlive.cpp).
    void KeepAliveDue();
    void KeepAliveOver();
    ULONG KeepAliveStep() const { return timeToLive / 8; }
    void StopRegistration();
    void Lost(const char* why);

    AsyncSocket* socket;
    RasTransaction discovery;
    RasTransaction registration;
    RasTransaction keepAlive;
    RasTransaction unregistration;
    OSTimerTrigger keepAliveTimer;

    Phase phase = Phase::Idle;
    UWORD sequence;
    SockAddr gatekeeper;   // of the latest Register
    std::u16string alias;  // of the latest FindGatekeeper or Register
    std::optional<std::u16string>
        discovered;                     // the gatekeeper's identifier, present when a search has found it
    std::u16string endpointIdentifier;  // kept after the end, for a gatekeeper that says it twice
    ULONG timeToLive = 0;               // [ms], 0 for ever
    ULONG confirmedAt = 0;              // os_clock value of the latest RCF
};
