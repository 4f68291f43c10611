#include "tests/h323/Samples.h"

using namespace h323;

namespace {

const H221NonStandard Maker{{181}, {0}, {0x4b45}};
const TransportAddress Address = TransportAddress::FromIp(0x7f000001, 1719);

NonStandardParameter Own() {
    return {Maker, {{1, 2, 3}}};
}

NonStandardParameter ByObject() {
    return {ObjectId{{0x2b, 0x06, 0x01, 0x04, 0x01, 0x81, 0x00}}, {{}}};
}

std::vector<TransportAddress> EveryAddress() {
    IpSourceRoute route;
    route.route = {{{10, 0, 0, 1}}, {{10, 0, 0, 2}}};
    route.routing = SourceRouting::Loose;
    return {Address,
            route,
            IpxAddress{{{1, 2, 3, 4, 5, 6}}, {{7, 8, 9, 10}}, {{11, 12}}},
            Ip6Address{{{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}, {1719}},
            FixedOctets<16>{},
            BoundedOctets<1, 20>{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}},
            Own()};
}

std::vector<AliasAddress> EveryAlias() {
    return {DigitText{"0123456789#*,"}, H323Id{u"Zo\u00eb \u20ac"},
            AliasAddress(std::in_place_index<2>, UrlId{"h323:a@b"}), Address,
            AliasAddress(std::in_place_index<4>, EmailId{"a@b"})};
}

VendorIdentifier Vendor() {
    return {Maker, BoundedOctets<1, 256>{{'p'}}, BoundedOctets<1, 256>{std::vector<std::uint8_t>(256, 'v')}};
}

EndpointType EveryType() {
    EndpointType type{Own(), Vendor(), KindInfo{Own()}, GatewayInfo{}, KindInfo{}, KindInfo{ByObject()},
                      true,  true};
    type.gateway->protocol = {SupportedProtocols(std::in_place_index<0>, Own()),
                              SupportedProtocols(std::in_place_index<7>, KindInfo{Own()}),
                              SupportedProtocols(std::in_place_index<8>, KindInfo{})};
    type.gateway->nonStandardData = Own();
    return type;
}

AltGKInfo Alternates() {
    return {{{Address, GatekeeperIdentifier{u"!H"}, true, {127}}, {Address, std::nullopt, false, {0}}}, true};
}

}  // namespace

std::vector<RasMessage> FullSamples() {
    const GatekeeperIdentifier gk{u"!Kestrel"};
    const EndpointIdentifier endpoint{std::u16string(128, u'e')};
    QseriesOptions services;
    services.full = {true, false, true, false, true, false, true};
    services.q954Info = {true, true};
    std::vector<RasMessageBody> bodies = {
        GatekeeperRequest{{1}, ProtocolIdentifier, Own(), Address, EveryType(), gk, services, EveryAlias()},
        GatekeeperConfirm{{2}, ProtocolIdentifier, ByObject(), gk, Address, Alternates().alternateGatekeeper},
        GatekeeperReject{{3},
                         ProtocolIdentifier,
                         Own(),
                         gk,
                         GatekeeperRejectReason::NeededFeatureNotSupported,
                         Alternates()},
        RegistrationRequest{{4},
                            ProtocolIdentifier,
                            Own(),
                            true,
                            EveryAddress(),
                            EveryAddress(),
                            EveryType(),
                            EveryAlias(),
                            gk,
                            Vendor(),
                            TimeToLive{4294967295},
                            true,
                            endpoint,
                            true,
                            false},
        RegistrationConfirm{{5},
                            ProtocolIdentifier,
                            Own(),
                            EveryAddress(),
                            EveryAlias(),
                            gk,
                            endpoint,
                            Alternates().alternateGatekeeper,
                            TimeToLive{1},
                            true,
                            true,
                            Null()},
        RegistrationReject{{6},
                           ProtocolIdentifier,
                           Own(),
                           RegistrationRejectReason::DuplicateAlias,
                           EveryAlias(),
                           gk,
                           Alternates()},
        RegistrationReject{
            {7}, ProtocolIdentifier, {}, RegistrationRejectReason::FullRegistrationRequired, {}, gk, {}},
        UnregistrationRequest{
            {8}, EveryAddress(), EveryAlias(), Own(), endpoint, gk, UnregRequestReason::Maintenance},
        UnregistrationConfirm{{9}, Own()},
        UnregistrationReject{{10}, UnregRejectReason::PermissionDenied, Own(), Alternates()},
        InfoRequest{{11}, {65535}, Own(), Address, CallIdentifier{}},
        InfoRequestResponse{Own(),
                            {12},
                            EveryType(),
                            endpoint,
                            Address,
                            EveryAddress(),
                            EveryAlias(),
                            {},
                            true,
                            InfoRequestResponseStatus(std::in_place_index<2>, Ranged<0, 65535>{7}),
                            true},
        RequestInProgress{{13}, Own(), {}, {}, {}, {65535}},
        UnknownMessageResponse{{65535}, OctetString{{0x0e, 0x40, 0xff}}},
    };
    std::vector<RasMessage> messages;
    messages.reserve(bodies.size());
    for (RasMessageBody& body : bodies) messages.emplace_back(std::move(body));
    return messages;
}
