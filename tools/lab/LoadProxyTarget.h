// An RTP proxy with the "ng" control protocol as the target of a load run, for comparison: one call a slot,
// the internal leg offers, the external leg answers.
#pragma once

#include <random>

#include "tools/lab/LoadTarget.h"
#include "tools/lab/NgClient.h"
#include "tools/lab/SdpAudio.h"

namespace lab {

class LoadProxyTarget : public LoadTarget {
 public:
    // `process`: the proxy's; 0: not known.
    explicit LoadProxyTarget(pid_t process);

    // `control`: the proxy's ng port. False with the reason in `error` when it does not answer there.
    bool Open(const SockAddr& control, std::string& error);

    ULONG OwnAddress() const override { return ownAddress; }
    pid_t Process() const override { return process; }
    bool SetUp(int slot, std::span<Leg, 2> legs, std::string& error) override;
    bool Release(int slot) override;
    std::optional<double> AskMs() override;

 private:
    nlohmann::json Request(const char* command, int slot) const;
    std::optional<SdpAudio> Exchange(const nlohmann::json& request, std::string& error);

    const pid_t process;
    const std::string run;  // makes the calls' names this run's own
    NgClient client;
    ULONG ownAddress = 0;
};

}  // namespace lab
