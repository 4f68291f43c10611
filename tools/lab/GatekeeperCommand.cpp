// kestrel-lab gatekeeper: a gatekeeper at the terminal.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <sstream>

#include "tools/lab/Commands.h"
#include "tools/lab/Gatekeeper.h"
#include "tools/lab/Interrupt.h"
#include "tools/lab/ModuleChoice.h"
#include "tools/lab/SockAddrText.h"
#include "tools/lab/TextTable.h"

namespace lab {

namespace {

constexpr int LookMs = 100;

constexpr const char* Lesson =
    "Examples:\n"
    "  kestrel-lab gatekeeper\n"
    "      Listens on 127.0.0.1:1719; start the module with: kestrel-compressor -hostaddr=127.0.0.2 -gk "
    "127.0.0.1\n"
    "  kestrel-lab gatekeeper --listen 10.0.0.5:1719 --multicast --ttl 30\n"
    "      Found by multicast as well; modules must renew their registration within 30 s.\n"
    "  kestrel-lab gatekeeper --reject\n"
    "      Rejects every registration.\n"
    "\n"
    "While it runs it takes commands, a line each:\n"
    "  list        the registered modules      unregister  throw every module out\n"
    "  admit       admit registrations         forget      lose all registrations without a word\n"
    "  reject      reject them                 inquire     ask the modules whether they are there\n"
    "  silent      answer nothing              ttl N       seconds of time to live from now on\n"
    "  quit        end";

class GatekeeperCommand {
 public:
    explicit GatekeeperCommand(CLI::App& command) {
        command.add_option("--listen", listen, "Where it listens")
            ->type_name("ADDR:PORT")
            ->capture_default_str();
        command.add_option("--id", identifier, "Its identifier; modules take only one that begins with '!'")
            ->capture_default_str();
        command.add_option("--ttl", timeToLive, "Time to live of registrations [s], 0: for ever")
            ->capture_default_str();
        command.add_flag("--multicast", multicast, "Answer discovery at 224.0.1.41:1718 as well");
        CLI::Option* rejects = command.add_flag("--reject", reject, "Reject every registration");
        command.add_flag("--silent", silent, "Answer nothing")->excludes(rejects);
        command.footer(Lesson);
    }

    int Run() {
        const std::optional<SockAddr> address = ParseSockAddr(listen, 1719);
        if (!address) return Complain("'" + listen + "' is no address and port such as 127.0.0.1:1719.") + 1;
        if (reject) gatekeeper.AnswerRegistration(Gatekeeper::Answer::Reject);
        if (silent) BeSilent();
        std::string error;
        const auto tell = [](Gatekeeper::Event event, const std::string& words) {
            Tell(ToText(event), words);
        };
        if (!gatekeeper.Start({*address, identifier, timeToLive, multicast, tell}, error))
            return Complain(error);
        if (identifier.empty() || identifier[0] != '!')
            std::printf("The identifier does not begin with '!': modules will go on searching.\n");
        std::printf("Gatekeeper \"%s\" listens at %s%s. Type help for commands, Ctrl-C to end.\n",
                    identifier.c_str(), ToText(gatekeeper.Address()).c_str(),
                    multicast ? " and 224.0.1.41:1718" : "");
        CatchInterrupts();
        while (!Interrupted() && !done) Look();
        gatekeeper.Stop();
        return 0;
    }

 private:
    static void Tell(const std::string& what, const std::string& words) {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        std::printf("%02d:%02d:%02d  %-14s  %s\n", local.tm_hour, local.tm_min, local.tm_sec, what.c_str(),
                    words.c_str());
        std::fflush(stdout);
    }

    void BeSilent() {
        gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Silent);
        gatekeeper.AnswerRegistration(Gatekeeper::Answer::Silent);
    }

    // Waits a moment for a command, and shows the table when the modules have changed.
    void Look() {
        std::fflush(stdout);
        pollfd input{inputOpen ? STDIN_FILENO : -1, POLLIN, 0};
        if (poll(&input, 1, LookMs) > 0) ReadCommands();
        const unsigned changes = gatekeeper.CountOf(Gatekeeper::Event::Registration);
        if (changes != shown) List();
        shown = changes;
    }

    // Whole lines; standard input may be closed, then there are no more.
    void ReadCommands() {
        std::array<char, 512> chunk;
        const ssize_t size = read(STDIN_FILENO, chunk.data(), chunk.size());
        inputOpen = size > 0;
        typed.append(chunk.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        for (std::size_t end; (end = typed.find('\n')) != std::string::npos; typed.erase(0, end + 1))
            Obey(typed.substr(0, end));
    }

    void Obey(const std::string& line) {
        std::istringstream words(line);
        std::string verb;
        if (!(words >> verb)) return;
        if (verb == "list") return List();
        if (verb == "quit") {
            done = true;
        } else if (verb == "admit") {
            gatekeeper.AnswerDiscovery(Gatekeeper::Answer::Confirm);
            gatekeeper.AnswerRegistration(Gatekeeper::Answer::Confirm);
            Tell(verb, "registrations are admitted from now on");
        } else if (verb == "reject") {
            gatekeeper.AnswerRegistration(Gatekeeper::Answer::Reject);
            Tell(verb, "registrations are rejected from now on");
        } else if (verb == "silent") {
            BeSilent();
            Tell(verb, "nothing is answered from now on");
        } else if (verb == "forget") {
            gatekeeper.Forget();
            Tell(verb, "all registrations are lost");
        } else if (verb == "unregister") {
            Tell(verb, "modules told to go: " + std::to_string(gatekeeper.Unregister()));
        } else if (verb == "inquire") {
            Tell(verb, "modules asked: " + std::to_string(gatekeeper.Inquire()));
        } else if (ULONG seconds = 0; verb == "ttl" && words >> seconds) {
            gatekeeper.SetTimeToLive(seconds);
            Tell(verb, std::to_string(seconds) + " s from the next registration on");
        } else {
            std::printf("Commands: list, admit, reject, silent, unregister, forget, inquire, ttl N, quit\n");
        }
    }

    void List() {
        const std::vector<Gatekeeper::Module> modules = gatekeeper.Modules();
        if (modules.empty()) {
            std::printf("No module is registered.\n");
            return;
        }
        TextTable table(
            {"module", "control port", "RTP from", "compression", "relay", "RAS address", "product"});
        for (const Gatekeeper::Module& module : modules) {
            const std::optional<SockAddr> control = module.Control();
            const h323::ModuleData data = module.data.value_or(h323::ModuleData{});
            const auto number = [&](ULONG value) { return module.data ? Number(value) : std::string("?"); };
            table.Add({module.alias.empty() ? "(no name)" : module.alias, control ? ToText(*control) : "?",
                       number(data.compressionBase), number(data.compressionQuantity),
                       number(data.relayQuantity), ToText(module.ras),
                       module.product + " " + module.version});
        }
        std::printf("%s", table.ToText().c_str());
    }

    Gatekeeper gatekeeper;
    std::string listen = "127.0.0.1:1719";
    std::string identifier = "!Kestrel Lab";
    ULONG timeToLive = 60;
    bool multicast = false;
    bool reject = false;
    bool silent = false;
    bool inputOpen = true;
    std::string typed;
    bool done = false;
    unsigned shown = 0;
};

}  // namespace

void AddGatekeeperCommand(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("gatekeeper", "Be the gatekeeper: find, admit and show modules");
    const auto gatekeeper = std::make_shared<GatekeeperCommand>(*command);
    command->callback([gatekeeper, &status] { status = gatekeeper->Run(); });
}

}  // namespace lab
