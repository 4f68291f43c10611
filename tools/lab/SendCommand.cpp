// kestrel-lab send: one control request and what came back.
#include <cstdio>
#include <memory>

#include "tools/lab/Commands.h"
#include "tools/lab/ControlClient.h"
#include "tools/lab/LegSettings.h"
#include "tools/lab/ModuleChoice.h"
#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

constexpr const char* Lesson =
    "Examples:\n"
    "  kestrel-lab send --module 127.0.0.1:40000 map --chan 0 --codec alaw/20 --to 127.0.0.1:9000\n"
    "  kestrel-lab send --module 127.0.0.1:40000 map --chan 1 --codec g729 --to 10.0.0.7:9000 --srtp 80\n"
    "  kestrel-lab send --module 127.0.0.1:40000 hold-music --chan 1 --codec alaw --group 239.1.1.1:5004\n"
    "  kestrel-lab send --module 127.0.0.1:40000 unmap --chan 1\n"
    "  kestrel-lab send --module 127.0.0.1:40000 conf-add --chan 2 --host 0\n"
    "  kestrel-lab send --module 127.0.0.1:40000 digit --chan 0 --key 5 --ms 160\n"
    "  kestrel-lab send --module 127.0.0.1:40000 free --chan 0\n"
    "\n"
    "A channel is one leg: an even number is the internal leg of a slot, the next number its external leg.\n"
    "The control port of a module stands in the table of 'kestrel-lab gatekeeper'. A request is acknowledged "
    "whatever\n"
    "the module made of it; what it made of it stands on the module's console.\n"
    "Exit status: 0 acknowledged, 1 not, 2 wrong use.";

class SendCommand : public std::enable_shared_from_this<SendCommand> {
 public:
    void AddOptions(CLI::App& command) {
        command.require_subcommand(1);
        command.add_option("--module", module, "The module's control channel")
            ->type_name("ADDR:PORT")
            ->required();
        command.add_option("--timeout", timeoutMs, "How long to wait for the acknowledgement [ms]")
            ->capture_default_str()
            ->check(CLI::Range(1, 600000));
        command.footer(Lesson);
    }

    // One more kind of request.
    CLI::App& Add(CLI::App& command, const char* name, const char* purpose, ControlEvent event, int& status) {
        CLI::App* request = command.add_subcommand(name, purpose);
        request->fallthrough();
        request->add_option("--chan", chan, "The channel")->required()->check(CLI::Range(0, 32767));
        request->callback([self = shared_from_this(), event, &status] { status = self->Run(event); });
        return *request;
    }

    void AddStream(CLI::App& request, const char* option, const char* purpose) {
        request.add_option(option, address, purpose)->type_name("ADDR:PORT")->required();
        request.add_option("--codec", codec, "CODEC[/MS] of alaw, ulaw or g729")->capture_default_str();
    }
    void AddMapOptions(CLI::App& request) {
        request
            .add_option("--srtp", srtp,
                        "Protect the leg with fresh keys, which are shown; tags of 80 or 32 bits")
            ->expected(0, 1)
            ->default_str("80")
            ->check(CLI::IsMember({"80", "32"}));
        request.add_flag("--relay", relay, "Relay mode: payloads pass unchanged");
        request.add_flag("--block-dtmf", blockDtmf, "Keys do not reach this leg");
    }
    void AddHost(CLI::App& request) {
        request.add_option("--host", host, "A channel of the slot that hosts the conference")
            ->required()
            ->check(CLI::Range(0, 32767));
    }
    void AddKey(CLI::App& request) {
        request.add_option("--key", key, "One of 0-9 * # A-D !")->required();
        request.add_option("--ms", ms, "How long the key is pressed [ms]")
            ->capture_default_str()
            ->check(CLI::Range(1, 60000));
    }

 private:
    int Run(ControlEvent event) {
        std::string error;
        ControlDatagram message{.event = event, .chan = static_cast<UWORD>(chan), .extra = {}};
        if (!Fill(message, error)) return Complain(error) + 1;
        const std::optional<SockAddr> to = ParseSockAddr(module);
        if (!to) return Complain("'" + module + "' is no address and port such as 127.0.0.1:40000.") + 1;
        ControlClient client;
        if (!client.Open(*to, error)) return Complain(error);
        client.SetTimeout(timeoutMs);
        std::printf("Sent to %s: %s\n", module.c_str(), message.Describe().c_str());
        const ControlClient::Reply reply = client.Send(message);
        if (reply.outcome != ControlClient::Outcome::Acknowledged)
            return Complain(module + ": " + reply.Words() + ".");
        std::printf("Answer: %s.\n", reply.Words().c_str());
        return 0;
    }

    bool Fill(ControlDatagram& message, std::string& error) {
        switch (message.event) {
            case ControlEvent::Map:
            case ControlEvent::HoldMusic:
                return FillStream(message, error);
            case ControlEvent::ConfAdd:
            case ControlEvent::ConfRemove:
                message.port = static_cast<UWORD>(host);
                return true;
            case ControlEvent::Digit:
                return FillKey(message, error);
            default:
                return true;
        }
    }

    bool FillStream(ControlDatagram& message, std::string& error) {
        const auto legs = ParseLegs(codec, error);
        if (!legs) return false;
        const std::optional<SockAddr> far = ParseSockAddr(address);
        if (!far) {
            error = "'" + address + "' is no address and port such as 127.0.0.1:9000.";
            return false;
        }
        message.comp = static_cast<UBYTE>(legs->first.codec);
        message.addr = far->Address();
        message.port = far->Port();
        message.mfpp = legs->first.Mfpp();
        message.flags = static_cast<UBYTE>((relay ? ControlDatagram::FlagRelay : 0) |
                                           (blockDtmf ? ControlDatagram::FlagBlockDtmf : 0));
        if (!srtp.empty()) AddKeys(message);
        return true;
    }

    void AddKeys(ControlDatagram& message) const {
        const SrtpKeys keys = SrtpKeys::Random(*SrtpKeys::SuiteFromName(srtp));
        const auto show = [](const char* what, std::span<const UBYTE> bytes) {
            std::printf("%s ", what);
            for (const UBYTE byte : bytes) std::printf("%02x", byte);
            std::printf("\n");
        };
        show("The module sends with key     ", keys.localKey);
        show("The module sends with salt    ", keys.localSalt);
        show("The module receives with key  ", keys.remoteKey);
        show("The module receives with salt ", keys.remoteSalt);
        message.extra = keys.KeyBlock();
    }

    bool FillKey(ControlDatagram& message, std::string& error) const {
        if (key.size() != 1 || std::string_view("0123456789*#ABCD!").find(key[0]) == std::string_view::npos) {
            error = "'" + key + "' is no key: use one of 0-9 * # A-D !";
            return false;
        }
        message.port = static_cast<UBYTE>(key[0]);
        message.addr = static_cast<ULONG>(ms);
        return true;
    }

    std::string module;
    int timeoutMs = ControlClient::DefaultTimeoutMs;
    int chan = 0;
    int host = 0;
    int ms = 160;
    std::string key;
    std::string codec = "alaw/20";
    std::string address;
    std::string srtp;
    bool relay = false;
    bool blockDtmf = false;
};

}  // namespace

void AddSendCommand(CLI::App& app, int& status) {
    CLI::App& command =
        *app.add_subcommand("send", "Send one control request to a module and show the answer");
    const auto send = std::make_shared<SendCommand>();
    send->AddOptions(command);
    CLI::App& map =
        send->Add(command, "map", "Connect a leg to a remote RTP address", ControlEvent::Map, status);
    send->AddStream(map, "--to", "The remote RTP address");
    send->AddMapOptions(map);
    send->Add(command, "unmap", "Release a leg: it goes to its hold music a second later",
              ControlEvent::Unmap, status);
    CLI::App& hold =
        send->Add(command, "hold-music", "Name the multicast stream that a leg hears while unmapped",
                  ControlEvent::HoldMusic, status);
    send->AddStream(hold, "--group", "The multicast group");
    send->Add(command, "free", "Free a slot with both its legs", ControlEvent::FreeChan, status);
    send->AddHost(send->Add(command, "conf-add", "Join a slot into another's conference",
                            ControlEvent::ConfAdd, status));
    send->AddHost(send->Add(command, "conf-remove", "Take a slot out of a conference",
                            ControlEvent::ConfRemove, status));
    send->AddKey(send->Add(command, "digit", "Press a key on the external leg", ControlEvent::Digit, status));
}

}  // namespace lab
