#include "tools/lab/LoadModuleTarget.h"

namespace lab {

LoadModuleTarget::LoadModuleTarget(std::unique_ptr<ModuleSetup> setup, int slots, pid_t known)
    : module(std::move(setup)),
      unusedChan(static_cast<UWORD>(2 * slots)),
      process(module->OwnsDaemon() ? module->Daemon().Pid() : known) {}

bool LoadModuleTarget::SetUp(int slot, std::span<Leg, 2> legs, std::string& error) {
    for (int side = 0; side < 2; ++side) {
        const auto chan = static_cast<UWORD>(2 * slot + side);
        Leg& leg = legs[static_cast<std::size_t>(side)];
        leg.far = module->Leg(chan);
        if (leg.settings.srtp) leg.keys = SrtpKeys::Random(*leg.settings.srtp);
        if (module->Control().Map({chan, static_cast<UBYTE>(leg.settings.codec), leg.own, leg.settings.Mfpp(),
                                   leg.settings.flags, leg.keys ? &*leg.keys : nullptr}))
            continue;
        error = "The module did not acknowledge the Map request for channel " + std::to_string(chan) + ".";
        return false;
    }
    return true;
}

bool LoadModuleTarget::Release(int slot) {
    return module->Control().Free(static_cast<UWORD>(2 * slot));
}

// An Unmap of a channel without a slot is acknowledged, and that is all.
std::optional<double> LoadModuleTarget::AskMs() {
    const ControlClient::Reply reply =
        module->Control().Send({.event = ControlEvent::Unmap, .chan = unusedChan, .extra = {}});
    if (reply.outcome != ControlClient::Outcome::Acknowledged) return std::nullopt;
    return reply.ms;
}

}  // namespace lab
