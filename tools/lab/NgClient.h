// A client of the "ng" control protocol of open RTP proxies: a cookie and a bencoded dictionary in each UDP
// datagram.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <random>
#include <string>

#include "tools/lab/UdpSocket.h"

namespace lab {

// One thread.
class NgClient {
 public:
    struct Reply {
        nlohmann::json content;
        double ms;  // until it was here
    };

    // False with the reason in `error` when no socket can be opened.
    bool Open(const SockAddr& proxy, std::string& error);
    // Sends `request` once and waits for its reply. Nothing when none comes, or when it is a refusal; `error`
    // then says why.
    std::optional<Reply> Ask(const nlohmann::json& request, std::string& error);

 private:
    SockAddr proxy;
    UdpSocket socket;
    // A proxy answers a cookie that it has seen in the last half minute as it did then, whoever asks.
    const std::string name = std::to_string(std::random_device{}()) + "_";
    unsigned cookies = 0;
};

}  // namespace lab
