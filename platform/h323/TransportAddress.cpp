#include "platform/h323/TransportAddress.h"

namespace h323 {

TransportAddress TransportAddress::FromIp(std::uint32_t address, std::uint16_t port) {
    IpAddress ip;
    for (unsigned i = 0; i < 4; ++i) ip.ip.octets[i] = static_cast<std::uint8_t>(address >> (24 - 8 * i));
    ip.port.value = port;
    return ip;
}

bool TransportAddress::ToIp(std::uint32_t& address, std::uint16_t& port) const {
    const auto* ip = std::get_if<IpAddress>(&AsVariant());
    if (ip == nullptr) return false;
    address = 0;
    for (const std::uint8_t octet : ip->ip.octets) address = address << 8 | octet;
    port = static_cast<std::uint16_t>(ip->port.value);
    return address != 0 && port != 0;
}

H323_DECLARE_DESCRIBE(IpAddress) {
    coder.Field("ip", value.ip);
    coder.Field("port", value.port);
}

H323_DECLARE_DESCRIBE(IpSourceRoute) {
    Additions<> additions;
    coder.Begin(additions);
    coder.Field("ip", value.ip);
    coder.Field("port", value.port);
    coder.Field("route", value.route);
    coder.Field("routing", value.routing);
    coder.End(additions);
}

H323_DECLARE_DESCRIBE(IpxAddress) {
    coder.Field("node", value.node);
    coder.Field("netnum", value.netnum);
    coder.Field("port", value.port);
}

H323_DECLARE_DESCRIBE(Ip6Address) {
    Additions<> additions;
    coder.Begin(additions);
    coder.Field("ip", value.ip);
    coder.Field("port", value.port);
    coder.End(additions);
}

H323_DEFINE_DESCRIBE(IpAddress);
H323_DEFINE_DESCRIBE(IpSourceRoute);
H323_DEFINE_DESCRIBE(IpxAddress);
H323_DEFINE_DESCRIBE(Ip6Address);

}  // namespace h323
