// A peer that has the keys and sends what it likes: packets with true tags over any header, lengths and
// indexes, and packets with none. Whatever comes, a session stays inside the packet and opens nothing twice;
// and what it protects, it opens.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/media/ByteOrder.h"
#include "platform/media/SrtpSession.h"

namespace {

using media::SrtpSession;
using Bytes = std::vector<UBYTE>;

constexpr std::array<UBYTE, SrtpSession::KeySize> MasterKey{1, 2, 3};
constexpr std::array<UBYTE, SrtpSession::SaltSize> MasterSalt{4, 5, 6};
constexpr std::uint64_t NoLimit = ~std::uint64_t{0};

void Require(bool condition) {
    if (!condition) std::abort();
}

// Both ends, as the receiver sees them: `rtp` and `rtcp` sign what the session would not.
struct Ends {
    explicit Ends(int tag)
        : tag(static_cast<size_t>(tag)),
          sender(SrtpSession::Create(SrtpSession::Outbound, tag, MasterKey, MasterSalt)),
          receiver(SrtpSession::Create(SrtpSession::Inbound, tag, MasterKey, MasterSalt)),
          rtp(srtp::SessionKeys::Derive(srtp::Protocol::Rtp, MasterKey, MasterSalt), this->tag, NoLimit),
          rtcp(srtp::SessionKeys::Derive(srtp::Protocol::Rtcp, MasterKey, MasterSalt), 10, NoLimit) {}
    const size_t tag;
    std::unique_ptr<SrtpSession> sender;
    std::unique_ptr<SrtpSession> receiver;
    srtp::Transform rtp;
    srtp::Transform rtcp;
};

// On the heap, whole and alone, so that a byte too far is seen.
SrtpSession::Result Open(Ends& ends, bool control, Bytes& packet) {
    size_t length = ~size_t{0};
    const auto result =
        control ? ends.receiver->UnprotectRtcp(packet, length) : ends.receiver->UnprotectRtp(packet, length);
    if (result != SrtpSession::Result::Ok) return result;
    Require(length <= packet.size());
    packet.resize(length);
    return result;
}

void OpenTwice(Ends& ends, bool control, const Bytes& packet) {
    Bytes first = packet;
    Bytes second = packet;
    if (Open(ends, control, first) != SrtpSession::Result::Ok) return;
    Require(Open(ends, control, second) == SrtpSession::Result::Replayed);
}

// With a true tag for the roll-over count that `rollOvers` names.
void OpenSigned(Ends& ends, bool control, Bytes packet, ULONG rollOvers) {
    const size_t size = packet.size();
    std::array<UBYTE, 4> unsent;
    media::Put32(unsent.data(), rollOvers);
    packet.resize(size + (control ? size_t{10} : ends.tag));
    const auto message = std::span<const UBYTE>(packet).first(size);
    if (control) {
        ends.rtcp.Sign(message, {}, packet.data() + size);
    } else {
        ends.rtp.Sign(message, unsent, packet.data() + size);
    }
    OpenTwice(ends, control, packet);
}

void RoundTrip(Ends& ends, bool control, const Bytes& plain) {
    Bytes packet = plain;
    packet.resize(packet.size() + (control ? size_t{SrtpSession::RtcpOverhead} : ends.tag));
    if (!(control ? ends.sender->ProtectRtcp(packet) : ends.sender->ProtectRtp(packet))) return;
    const auto receiver =
        SrtpSession::Create(SrtpSession::Inbound, static_cast<int>(ends.tag), MasterKey, MasterSalt);
    size_t length = 0;
    const auto result =
        control ? receiver->UnprotectRtcp(packet, length) : receiver->UnprotectRtp(packet, length);
    // A new receiver knows roll-over 0, and 1 just behind the wrap; a sender in a later one it cannot follow.
    if (result != SrtpSession::Result::Ok) return Require(!control);
    Require(length == plain.size() && std::equal(plain.begin(), plain.end(), packet.begin()));
}

}  // namespace

// The first byte chooses the tag; then a byte of what to do, two of length, a packet, again and again.
extern "C" int LLVMFuzzerTestOneInput(const UBYTE* bytes, size_t size) {
    if (size == 0) return 0;
    Ends ends((bytes[0] & 1) != 0 ? 4 : 10);
    std::span<const UBYTE> rest(bytes + 1, size - 1);
    while (rest.size() >= 3) {
        const UBYTE what = rest[0];
        const size_t length = std::min<size_t>(media::Get16(&rest[1]) % 2000, rest.size() - 3);
        const Bytes packet(rest.begin() + 3, rest.begin() + 3 + static_cast<long>(length));
        const bool control = (what & 1) != 0;
        if ((what & 6) == 0) {
            OpenTwice(ends, control, packet);
        } else if ((what & 6) == 2) {
            RoundTrip(ends, control, packet);
        } else {
            OpenSigned(ends, control, packet, what >> 6);
        }
        rest = rest.subspan(3 + length);
    }
    return 0;
}
