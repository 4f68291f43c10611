// A gatekeeper that does what a test tells it, on a socket of its own in the test's loop.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/h323/RasMessage.h"
#include "platform/kernel/AsyncSocket.h"

class ScriptedGatekeeper : public OSIO {
 public:
    struct Received {
        RasMessage message;
        SockAddr from;
        ULONG at;  // os_clock
    };
    using Script = std::function<void(const Received&)>;

    explicit ScriptedGatekeeper(const char* address = "127.0.0.1");
    ~ScriptedGatekeeper() override;

    // Hears requests to the gatekeepers' multicast group as well.
    void JoinGroup(ULONG interfaceAddress);

    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* to) override;

    void Send(const RasMessage& message, const SockAddr& to);
    void SendOctets(const std::vector<UBYTE>& octets, const SockAddr& to);

    // Answers: a GCF with our address, a RCF with the identifier "ep-1", and so on.
    void Confirm(const Received& grq, const char16_t* identifier);
    void ConfirmRegistration(const Received& rrq, std::uint32_t timeToLive);
    void Reject(const Received& rrq, h323::RegistrationRejectReason reason);

    // The messages of type T received so far.
    template <class T>
    std::vector<T> All() const {
        std::vector<T> all;
        for (const Received& r : received) {
            if (const T* message = r.message.As<T>()) all.push_back(*message);
        }
        return all;
    }
    template <class T>
    bool Has() const {
        return !All<T>().empty();
    }

    SockAddr address;
    std::vector<Received> received;
    int undecodable = 0;
    Script script;  // called for each message once it stands in `received`

 private:
    AsyncSocket* socket;
    AsyncSocket* group = nullptr;
};
