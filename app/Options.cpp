#include "app/Options.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "app/Globals.h"
#include "app/LogFiles.h"
#include "app/StartupPrint.h"
#include "platform/h323/H245Session.h"
#include "platform/h323/H323Session.h"
#include "platform/h323/H450Service.h"
#include "platform/h323/Ras.h"
#include "platform/kernel/AsyncSocket.h"

namespace {

constexpr int ArgumentMissing = -1;
constexpr int NoLog = 0;

// The number at the start of `text`, 0 without one, cut to what an int holds.
int Number(const char* text) {
    return static_cast<int>(std::clamp<long>(std::strtol(text, nullptr, 10), INT_MIN, INT_MAX));
}

// The digits at the start of `text` as a number's low 16 bits.
UWORD PortNumber(const char* text) {
    UWORD port = 0;
    for (; std::isdigit(static_cast<unsigned char>(*text)) != 0; text++) {
        port = static_cast<UWORD>(port * 10 + (*text - '0'));
    }
    return port;
}

bool SetGatekeeper(Options& options, const char* argument) {
    const char* colon = std::strchr(argument, ':');
    UString address(argument);
    if (colon != nullptr) address.Format("%.*s", static_cast<int>(colon - argument), argument);
    options.gkAddress = address;
    options.gkPort = 1719;
    if (colon != nullptr && std::isdigit(static_cast<unsigned char>(colon[1])) != 0) {
        options.gkPort = PortNumber(colon + 1);
    }
    return true;
}

bool SetHosted(Options& /*options*/, const char* root) {
    globalIsHosted = true;
    globalHostedRoot = root;
    if (chdir(root) == 0) {
        [[maybe_unused]] const int inHome = chdir("Kestrelon");  // a root without it will do
    }
    StartupPrint("Starting Virtual Server hosted @%s\n", root);
    return true;
}

bool SetHostAddress(Options& /*options*/, const char* text) {
    if (std::strcmp(text, "127.0.0.1") == 0) return true;
    const SockAddr address(text, 0);
    if (address.Address() == 0) StartupPrint("-hostaddr=%s is no IPv4 address", text);
    AsyncSocket::SetPrimaryAddress(address.Address());
    Socket::Init(AsyncSocket::local_ipaddr);
    return true;
}

bool SetRtpBase(Options& /*options*/, const char* argument) {
    const int base = Number(argument);
    if (base > 0) compressionBase = base;
    return true;
}

bool SetRelayQuantity(Options& /*options*/, const char* argument) {
    relayQuantity = Number(argument);
    return true;
}

template <auto& Switch, int Level>
bool SetTrace(Options& /*options*/, const char* /*argument*/) {
    Switch = Level;
    return true;
}

enum class Match { Word, WordInThisCase, Prefix };

struct Option {
    const char* name;
    Match match;
    const char* usage;  // printed when the next word, its argument, is missing; null when it takes none
    bool (*apply)(Options& options, const char* argument);  // false: the log cannot be had
};

constexpr Option Table[] = {
    {"-gk", Match::Word, "Use -gk <addr>", SetGatekeeper},
    {"-hosted=", Match::Prefix, nullptr, SetHosted},
    {"-hostaddr=", Match::Prefix, nullptr, SetHostAddress},
    {"-rtpbase", Match::WordInThisCase, "Use -rtpbase <base>", SetRtpBase},
    {"-relayquantity", Match::WordInThisCase, "Use -relayquantity <quantity>", SetRelayQuantity},
    {"-log", Match::Word, nullptr, [](Options&, const char*) { return StartRingLog(); }},
    {"-logcp", Match::Word, nullptr, [](Options&, const char*) { return StartFileLog(); }},
    {"-debug-socket", Match::Word, nullptr, SetTrace<AsyncSocket::trace, 1>},
    {"-debug-ras", Match::Word, nullptr, SetTrace<Ras::infoTrace, 1>},
    {"-debug-ras-pkt", Match::Word, nullptr, SetTrace<Ras::msgTrace, 1>},
    {"-debug-h323", Match::Word, nullptr, SetTrace<H323Session::msgTrace, 1>},
    {"-debug-h225", Match::Word, nullptr, SetTrace<H323Session::msgTrace, 2>},
    {"-debug-h245", Match::Word, nullptr, SetTrace<H245Session::msgTrace, 1>},
    {"-debug-h245-pkt", Match::Word, nullptr, SetTrace<H245Session::msgTrace, 2>},
    {"-debug-h450", Match::Word, nullptr, SetTrace<H450Service::msgTrace, 1>},
};

bool Matches(const Option& option, const char* word) {
    switch (option.match) {
        case Match::Word:
            return strcasecmp(word, option.name) == 0;
        case Match::WordInThisCase:
            return std::strcmp(word, option.name) == 0;
        case Match::Prefix:
            return strncasecmp(word, option.name, std::strlen(option.name)) == 0;
    }
    return false;
}

const Option* Find(const char* word) {
    for (const Option& option : Table) {
        if (Matches(option, word)) return &option;
    }
    return nullptr;
}

}  // namespace

std::optional<int> Options::Read(int argc, char** argv) {
    for (int i = 1; i < argc; i++) {
        const Option* option = Find(argv[i]);
        if (option == nullptr) continue;
        const char* argument = argv[i] + std::strlen(option->name);
        if (option->usage != nullptr) {
            if (i + 1 >= argc) {
                StartupPrint("%s", option->usage);
                return ArgumentMissing;
            }
            argument = argv[++i];
        }
        if (!option->apply(*this, argument)) return NoLog;
    }
    return std::nullopt;
}
