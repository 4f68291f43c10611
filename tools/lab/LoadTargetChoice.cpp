#include "tools/lab/LoadTargetChoice.h"

#include "tools/lab/LoadForwarderTarget.h"
#include "tools/lab/LoadModuleTarget.h"
#include "tools/lab/LoadProxyTarget.h"
#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

std::optional<SockAddr> Read(const std::string& text, std::string& error) {
    const std::optional<SockAddr> address = ParseSockAddr(text);
    if (!address) error = "'" + text + "' is no address and port such as 127.0.0.1:40000.";
    return address;
}

}  // namespace

void LoadTargetChoice::AddOptions(CLI::App& command) {
    module.AddOptions(command);
    CLI::Option* running = command.get_option("--module");
    CLI::Option* ng =
        command
            .add_option("--proxy-ng", proxy,
                        "Load the RTP proxy whose ng control port (bencode over UDP) is at ADDR:PORT\n"
                        "instead of a module")
            ->type_name("ADDR:PORT")
            ->excludes(running)
            ->excludes(command.get_option("--daemon"))
            ->excludes(command.get_option("--rtpbase"));
    CLI::Option* plain =
        command
            .add_option(
                "--forwarder", forwarder,
                "Load the plain forwarder (bench) whose first port is at ADDR:PORT instead of a module")
            ->type_name("ADDR:PORT")
            ->excludes(running)
            ->excludes(command.get_option("--daemon"))
            ->excludes(command.get_option("--rtpbase"))
            ->excludes(ng);
    command
        .add_option_function<int>(
            "--pid",
            [this, running, ng, plain](const int& value) {
                if (running->empty() && ng->empty() && plain->empty())
                    throw CLI::ValidationError("--pid", "is for --module, --proxy-ng and --forwarder");
                pid = value;
            },
            "The process of a target that runs already, so that its CPU time and memory can be measured")
        ->check(CLI::PositiveNumber);
}

std::unique_ptr<LoadTarget> LoadTargetChoice::Prepare(int slots, FILE* progress, std::string& error) const {
    if (!proxy.empty()) return PrepareProxy(error);
    if (!forwarder.empty()) return PrepareForwarder(error);
    auto setup = std::make_unique<ModuleSetup>();
    if (!module.Prepare(*setup, slots, progress, error)) return nullptr;
    return std::make_unique<LoadModuleTarget>(std::move(setup), slots, pid);
}

std::unique_ptr<LoadTarget> LoadTargetChoice::PrepareProxy(std::string& error) const {
    const std::optional<SockAddr> control = Read(proxy, error);
    auto target = std::make_unique<LoadProxyTarget>(pid);
    if (!control || !target->Open(*control, error)) return nullptr;
    return target;
}

std::unique_ptr<LoadTarget> LoadTargetChoice::PrepareForwarder(std::string& error) const {
    const std::optional<SockAddr> first = Read(forwarder, error);
    if (!first) return nullptr;
    auto target = std::make_unique<LoadForwarderTarget>(*first, pid);
    if (!target->Open(error)) return nullptr;
    return target;
}

}  // namespace lab
