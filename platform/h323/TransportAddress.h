// The address of an endpoint or gatekeeper, in each form that the standard knows; this system uses ipAddress.
#pragma once

#include "platform/h323/NonStandardParameter.h"

namespace h323 {

struct IpAddress {
    FixedOctets<4> ip;
    Ranged<0, 65535> port;

    bool operator==(const IpAddress&) const = default;
};

enum class SourceRouting : std::uint32_t { Strict, Loose };

template <>
struct NamesOf<SourceRouting> {
    static constexpr std::uint32_t Roots = 2;
    static constexpr std::array<const char*, 2> Names = {"strict", "loose"};
};

struct IpSourceRoute {
    FixedOctets<4> ip;
    Ranged<0, 65535> port;
    std::vector<FixedOctets<4>> route;
    SourceRouting routing{};

    bool operator==(const IpSourceRoute&) const = default;
};

struct IpxAddress {
    FixedOctets<6> node;
    FixedOctets<4> netnum;
    FixedOctets<2> port;

    bool operator==(const IpxAddress&) const = default;
};

struct Ip6Address {
    FixedOctets<16> ip;
    Ranged<0, 65535> port;

    bool operator==(const Ip6Address&) const = default;
};

struct TransportAddress : Choice<7, IpAddress, IpSourceRoute, IpxAddress, Ip6Address, FixedOctets<16>,
                                 BoundedOctets<1, 20>, NonStandardParameter> {
    using Choice::Choice;
    static constexpr std::array<const char*, 8> Names = {"ipAddress",          "ipSourceRoute", "ipxAddress",
                                                         "ip6Address",         "netBios",       "nsap",
                                                         "nonStandardAddress", "(unknown)"};

    // An ipAddress from an IPv4 address in host byte order.
    static TransportAddress FromIp(std::uint32_t address, std::uint16_t port);
    // The ipAddress, in host byte order; false when it is of another form, or address or port is 0.
    bool ToIp(std::uint32_t& address, std::uint16_t& port) const;
};

H323_DECLARE_DESCRIBE(IpAddress);
H323_DECLARE_DESCRIBE(IpSourceRoute);
H323_DECLARE_DESCRIBE(IpxAddress);
H323_DECLARE_DESCRIBE(Ip6Address);

}  // namespace h323
