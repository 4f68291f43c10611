// A small H.225.0 gatekeeper: answers discovery, admits registrations, keeps them for their time to live; and
// on request rejects, stays silent, forgets or throws out, as tests and operators want it.
#pragma once

#include <array>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/h323/ModuleData.h"
#include "platform/h323/RasMessage.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

// Any thread may call any operation; one thread of its own answers.
class Gatekeeper {
 public:
    enum class Answer { Confirm, Reject, Silent };

    enum class Event {
        Discovery,       // a gatekeeper request came
        Registration,    // a full registration was admitted
        KeepAlive,       // a light registration was confirmed
        Rejection,       // a registration was rejected
        Ignored,         // a request came and no answer went out
        Unregistration,  // the module withdrew its registration
        Confirmed,       // the module confirmed that we threw it out
        Expired,         // the time to live ran out
        InfoResponse,    // the module answered our inquiry
        Malformed,       // a datagram was no RAS message, or one that we do not serve
        Count,
    };

    struct Module {
        std::string alias;
        std::u16string endpoint;  // the identifier that we gave it
        SockAddr ras;
        SockAddr callSignal;  // where it takes requests
        std::optional<h323::ModuleData> data;
        std::string product;
        std::string version;
        std::int64_t heardAtNs = 0;
        unsigned keepAlives = 0;

        // The control channel; nothing when the module did not say.
        std::optional<SockAddr> Control() const;
    };

    struct Setup {
        SockAddr listen{0x7F000001, 0};  // port 0: chosen by the system
        std::string identifier =
            "!Kestrel Lab";      // modules take only one that begins with "!"; empty: none is given
        ULONG timeToLive = 60;   // [s], 0: registrations last for ever
        bool multicast = false;  // answer at 224.0.1.41:1718 as well
        std::function<void(Event, const std::string&)> listener =
            {};  // called on the gatekeeper's thread, in words
        // Sees every datagram as it came, on the gatekeeper's thread.
        std::function<void(std::span<const UBYTE>, const SockAddr& from)> tap = {};
    };

    static constexpr ULONG MulticastGroup = 0xE0000129;  // 224.0.1.41 (H.225.0, 7.2.1)
    static constexpr UWORD MulticastPort = 1718;

    Gatekeeper() = default;
    ~Gatekeeper();
    Gatekeeper(const Gatekeeper&) = delete;
    Gatekeeper& operator=(const Gatekeeper&) = delete;

    // False with the reason in `error`.
    bool Start(Setup setup, std::string& error);
    // Modules are not told.
    void Stop();
    SockAddr Address() const { return socket.Local(); }

    // What it does from now on.
    void AnswerDiscovery(Answer answer);
    void AnswerRegistration(Answer answer, h323::RegistrationRejectReason reason =
                                               h323::RegistrationRejectReason::ResourceUnavailable);
    void SetTimeToLive(ULONG seconds);
    // Loses all registrations without a word, as after a restart.
    void Forget();
    // Throws every module out, with a reason; how many.
    std::size_t Unregister(h323::UnregRequestReason reason = h323::UnregRequestReason::Maintenance);
    // Asks every module whether it is still there; how many.
    std::size_t Inquire();

    std::vector<Module> Modules() const;
    unsigned CountOf(Event event) const;
    // Waits at most `ms` until the event has happened `count` times since the start.
    bool WaitFor(Event event, unsigned count, int ms) const;
    // Waits for a registered module.
    std::optional<Module> WaitModule(int ms) const;

 private:
    void Run();
    void Serve(UdpSocket& from);
    void OnMessage(const RasMessage& message, const SockAddr& from);
    void OnRequest(const h323::GatekeeperRequest& request, const SockAddr& from);
    void OnRequest(const h323::RegistrationRequest& request, const SockAddr& from);
    void OnRequest(const h323::UnregistrationRequest& request, const SockAddr& from);
    void Admit(const h323::RegistrationRequest& request, const SockAddr& from);
    void Renew(const h323::RegistrationRequest& request, const SockAddr& from);
    void Confirm(const h323::RegistrationRequest& request, const Module& module, const SockAddr& from);
    void Reject(const h323::RegistrationRequest& request, h323::RegistrationRejectReason reason,
                const SockAddr& from);
    void Expire();
    void SendUnregistration(const Module& module, h323::UnregRequestReason reason);
    Module* Find(const std::u16string& endpoint);
    Module* FindByAlias(const std::string& alias);
    void Send(h323::RasMessageBody body, const SockAddr& to) const;
    void Report(Event event, const std::string& words);
    std::optional<h323::GatekeeperIdentifier> Identifier() const;

    UdpSocket socket;
    UdpSocket multicast;

    mutable std::mutex lock;
    mutable std::condition_variable changed;
    Setup setup;
    Answer discoveryAnswer = Answer::Confirm;
    Answer registrationAnswer = Answer::Confirm;
    h323::RegistrationRejectReason rejectReason{};
    std::vector<Module> modules;
    std::array<unsigned, static_cast<std::size_t>(Event::Count)> counts{};
    unsigned endpointsNamed = 0;
    std::uint16_t sequence = 0;
    bool stopping = false;
    std::thread thread;
};

const char* ToText(Gatekeeper::Event event);

}  // namespace lab
