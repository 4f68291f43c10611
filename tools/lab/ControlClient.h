// The call server's end of the control protocol: sends requests, waits for their acknowledgements, collects
// the digits that the module reports.
#pragma once

#include <deque>
#include <optional>
#include <string>

#include "platform/kernel/SockAddr.h"
#include "tools/lab/ControlDatagram.h"
#include "tools/lab/SrtpKeys.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

// One thread. Requests are sent once and never repeated: the module would carry a repetition out again.
class ControlClient {
 public:
    enum class Outcome {
        Acknowledged,
        NoAnswer,  // within the time-out
        Refused,   // nothing listens at the module's port
        NotSent,
    };
    struct Reply {
        Outcome outcome;
        double ms;  // from sending to the acknowledgement's arrival at this host
        UBYTE seq;  // that the request had
        std::string Words() const;
    };
    struct MapRequest {
        UWORD chan = 0;
        UBYTE comp = 0;
        SockAddr remote;
        UBYTE mfpp = 0;
        UBYTE flags = 0;
        const SrtpKeys* keys = nullptr;
    };

    static constexpr int DefaultTimeoutMs = 2000;

    // False with the reason in `error` when no socket can be opened.
    bool Open(const SockAddr& module, std::string& error);
    const SockAddr& Module() const { return module; }
    SockAddr Local() const { return socket.Local(); }
    void SetTimeout(int ms) { timeoutMs = ms; }

    // Gives `message` the next sequence number, sends it and waits for its acknowledgement.
    Reply Send(ControlDatagram message);
    // Sends any bytes at all, without waiting.
    bool SendRaw(std::span<const UBYTE> bytes) const { return socket.SendTo(bytes, module); }

    // True when acknowledged.
    bool Map(const MapRequest& request);
    bool Unmap(UWORD chan);
    bool Free(UWORD chan);
    bool HoldMusic(UWORD chan, UBYTE comp, const SockAddr& group);
    bool ConferenceAdd(UWORD chan, UWORD host);
    bool ConferenceRemove(UWORD chan, UWORD host);
    bool SendDigit(UWORD chan, char key, ULONG ms);

    // The next digit that the module reported and that was not taken yet, waiting at most `ms`.
    std::optional<ControlDatagram> WaitDigit(int ms);
    // The next acknowledgement, of whatever request; for tests that send raw bytes.
    std::optional<ControlDatagram> WaitAnswer(int ms);

 private:
    static constexpr std::size_t MaxQueued = 1000;

    // The next datagram, of either kind, waiting at most `ms`; digits are queued on the way.
    std::optional<ControlDatagram> Take(int ms);
    bool Acknowledged(ControlDatagram message) {
        return Send(std::move(message)).outcome == Outcome::Acknowledged;
    }

    UdpSocket socket;
    SockAddr module;
    int timeoutMs = DefaultTimeoutMs;
    UBYTE seq = 0;
    std::int64_t takenNs = 0;  // when the latest datagram arrived (WallNs)
    std::deque<ControlDatagram> digits;
};

}  // namespace lab
