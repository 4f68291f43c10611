#include "tools/lab/NgClient.h"

#include "tools/lab/Bencode.h"
#include "tools/lab/SockAddrText.h"

namespace lab {

namespace {

constexpr std::int64_t NsPerMs = 1'000'000;
constexpr int AnswerMs = 2000;

std::string TextAt(const nlohmann::json& dictionary, const char* key) {
    const auto found = dictionary.find(key);
    return found != dictionary.end() && found->is_string() ? found->get<std::string>() : "";
}

}  // namespace

bool NgClient::Open(const SockAddr& address, std::string& error) {
    proxy = address;
    if (!socket.Open(SockAddr(0U, 0), error)) return false;
    socket.ReportRefusals();
    return true;
}

std::optional<NgClient::Reply> NgClient::Ask(const nlohmann::json& request, std::string& error) {
    const std::string cookie = name + std::to_string(++cookies) + " ";
    const std::string datagram = cookie + ToBencode(request);
    const std::int64_t begin = WallNs();
    error = "The proxy does not answer at " + ToText(proxy) + ".";
    if (!socket.SendTo({reinterpret_cast<const UBYTE*>(datagram.data()), datagram.size()}, proxy))
        return std::nullopt;
    for (std::int64_t left = AnswerMs; left > 0; left = AnswerMs - (WallNs() - begin) / NsPerMs) {
        const std::optional<UdpSocket::Arrival> arrival = socket.Receive(static_cast<int>(left));
        if (socket.refused) return std::nullopt;
        if (!arrival) continue;
        const std::string_view text(reinterpret_cast<const char*>(arrival->data.data()),
                                    arrival->data.size());
        if (!text.starts_with(cookie)) continue;  // a late reply
        const std::optional<nlohmann::json> content = ParseBencode(text.substr(cookie.size()));
        if (!content || !content->is_object()) continue;
        error = "The proxy refuses: " + TextAt(*content, "error-reason");
        if (TextAt(*content, "result") == "error") return std::nullopt;
        return Reply{*content, static_cast<double>(arrival->atNs - begin) / NsPerMs};
    }
    return std::nullopt;
}

}  // namespace lab
