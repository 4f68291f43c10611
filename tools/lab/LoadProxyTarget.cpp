#include "tools/lab/LoadProxyTarget.h"

#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

SdpAudio Describe(const LoadTarget::Leg& leg, int cryptoTag) {
    SdpAudio sdp;
    sdp.address = leg.own;
    if (leg.keys)
        sdp.crypto.push_back({cryptoTag, leg.keys->suite, leg.keys->remoteKey, leg.keys->remoteSalt});
    return sdp;
}

// What the proxy says about its end of a leg.
bool Take(const SdpAudio& said, LoadTarget::Leg& leg, std::string& error) {
    leg.far = said.address;
    if (!leg.keys) return true;
    const SdpAudio::Crypto* crypto = said.Find(leg.keys->suite);
    if (crypto == nullptr) {
        error = "The proxy does not offer the SRTP suite that was asked for.";
        return false;
    }
    leg.keys->localKey = crypto->key;
    leg.keys->localSalt = crypto->salt;
    return true;
}

}  // namespace

LoadProxyTarget::LoadProxyTarget(pid_t known)
    : process(known), run("load-" + std::to_string(std::random_device{}()) + "-") {}

bool LoadProxyTarget::Open(const SockAddr& control, std::string& error) {
    ownAddress = IsLocalAddress(control.Address()) ? control.Address() : SourceTowards(control.Address());
    return client.Open(control, error) && client.Ask({{"command", "ping"}}, error);
}

nlohmann::json LoadProxyTarget::Request(const char* command, int slot) const {
    return {{"command", command}, {"call-id", run + std::to_string(slot)}, {"from-tag", "internal"}};
}

std::optional<SdpAudio> LoadProxyTarget::Exchange(const nlohmann::json& request, std::string& error) {
    const std::optional<NgClient::Reply> reply = client.Ask(request, error);
    if (!reply) return std::nullopt;
    const auto found = reply->content.find("sdp");
    error = "The proxy's reply has no usable session description.";
    if (found == reply->content.end() || !found->is_string()) return std::nullopt;
    return SdpAudio::Parse(found->get<std::string>());
}

bool LoadProxyTarget::SetUp(int slot, std::span<Leg, 2> legs, std::string& error) {
    Leg& internal = legs[0];
    Leg& external = legs[1];
    if (internal.settings.packetMs != external.settings.packetMs) {
        error = "Against a proxy both legs must have the same packet time.";
        return false;
    }
    for (Leg& leg : legs)
        if (leg.settings.srtp) leg.keys = SrtpKeys::Random(*leg.settings.srtp);

    nlohmann::json offer = Request("offer", slot);
    offer["sdp"] = Describe(internal, 1).ToText(internal.settings);
    offer["transport-protocol"] = external.keys ? "RTP/SAVP" : "RTP/AVP";
    offer["ICE"] = "remove";
    offer["DTLS"] = "off";
    if (internal.settings.codec != external.settings.codec) {
        offer["codec"] = {{"mask", {RtpmapName(internal.settings.codec)}},
                          {"transcode", {RtpmapName(external.settings.codec)}}};
    }
    const std::optional<SdpAudio> offered = Exchange(offer, error);
    if (!offered || !Take(*offered, external, error)) return false;

    const SdpAudio::Crypto* chosen = external.keys ? offered->Find(external.keys->suite) : nullptr;
    nlohmann::json answer = Request("answer", slot);
    answer["to-tag"] = "external";
    answer["sdp"] = Describe(external, chosen != nullptr ? chosen->tag : 1).ToText(external.settings);
    const std::optional<SdpAudio> answered = Exchange(answer, error);
    return answered && Take(*answered, internal, error);
}

bool LoadProxyTarget::Release(int slot) {
    std::string error;
    nlohmann::json request = Request("delete", slot);
    request["delete-delay"] = 0;
    return client.Ask(request, error).has_value();
}

std::optional<double> LoadProxyTarget::AskMs() {
    std::string error;
    const std::optional<NgClient::Reply> reply = client.Ask({{"command", "ping"}}, error);
    if (!reply) return std::nullopt;
    return reply->ms;
}

}  // namespace lab
