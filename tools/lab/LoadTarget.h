// What a load run is aimed at: anything that carries slots of two legs each.
#pragma once

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>

#include "platform/kernel/SockAddr.h"
#include "tools/lab/LegSettings.h"
#include "tools/lab/SrtpKeys.h"

namespace lab {

// One thread at a time.
class LoadTarget {
 public:
    struct Leg {
        LegSettings settings;
        SockAddr own;                    // where the generator listens, and sends from
        SockAddr far = {};               // where the target listens
        std::optional<SrtpKeys> keys{};  // "local" is the target's side
    };

    virtual ~LoadTarget() = default;

    // The address of this host that the target can reach.
    virtual ULONG OwnAddress() const = 0;
    // The target's process on this host; 0 where it is not known.
    virtual pid_t Process() const = 0;
    // Sets up slot number `slot` from its internal and its external leg: fills in `far` of both, and `keys`
    // where the settings ask for protection. False with the reason in `error`.
    virtual bool SetUp(int slot, std::span<Leg, 2> legs, std::string& error) = 0;
    // False when the target does not confirm it.
    virtual bool Release(int slot) = 0;
    // Asks for something that changes nothing over the control protocol, and gives the milliseconds until the
    // answer was here; nothing when there was none.
    virtual std::optional<double> AskMs() = 0;
};

}  // namespace lab
