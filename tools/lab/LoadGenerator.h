// Speaks on both legs of many slots at once, and listens to all of them.
//
// One thread does it all. It wakes every millisecond, sends what is due with sendmmsg, and empties its
// sockets with recvmmsg; the slots are spread evenly over the packet time. Up to 64 slots share a socket pair
// for each side, so the target sees the same peer address for several legs and tells them apart by its own
// ports, as we do. Arrival times are the kernel's, so the rhythm of our reading is in no delay. The time of
// sending is read just before each sendmmsg of at most 16 packets: the later ones of these look up to some
// ten microseconds slower than they were. The thread asks for niceness -10, so that other work on the machine
// is less in its way; it stays below every real-time thread.
#pragma once

#include <sys/socket.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/lab/LoadPhases.h"
#include "tools/lab/LoadResult.h"
#include "tools/lab/LoadTarget.h"
#include "tools/lab/RtpReceiver.h"
#include "tools/lab/RtpSender.h"
#include "tools/lab/SpeechSource.h"
#include "tools/lab/UdpSocket.h"

namespace lab {

// Used from one thread; Run works on a second one.
class LoadGenerator {
 public:
    struct Progress {
        double seconds;
        std::uint64_t sent;
        std::uint64_t received;
    };

    LoadGenerator(LoadTarget& target, const LoadOptions& options);
    ~LoadGenerator();
    LoadGenerator(const LoadGenerator&) = delete;
    LoadGenerator& operator=(const LoadGenerator&) = delete;

    // Codes the speech, opens the sockets and sets every slot up; false with the reason in `error`.
    bool Prepare(const SpeechSource& speech, std::string& error);
    // Sends for the seconds wanted, or until `onSecond`, called about once a second, says false.
    void Run(const std::function<bool(const Progress&)>& onSecond);
    // Frees every slot; false when the target did not confirm them all.
    bool Release();
    // After Run.
    LoadResult Collect();

 private:
    static constexpr int SlotsPerSocket = 64;
    static constexpr std::size_t SendBatch = 16;

    struct Leg;
    struct Ring;
    struct Outbox;
    struct Inbox;

    bool OpenSockets(std::string& error);
    void MakeLegs(const SpeechSource& speech);
    bool SetUpSlots(std::string& error);
    void Connect(int side, int slot, const LoadTarget::Leg& leg);
    void MakeRings(std::int64_t start);
    void Generate();
    bool SendDue(Ring& ring, std::int64_t now);
    void Queue(Leg& leg);
    void Flush();
    void ReceiveAll();
    void ReceiveFrom(int side, UdpSocket& socket);
    void Deliver(int side, mmsghdr& message);
    void TakePhase(std::int64_t now);
    LoadPhases::Count CountOf(int side, std::size_t slot) const;
    std::uint64_t DropsOfTarget() const;
    void CollectDirection(int side, DirectionResult& into);

    LoadTarget& target;
    const LoadOptions options;
    std::array<std::vector<UdpPair>, 2> sockets;
    std::array<std::vector<std::unique_ptr<Leg>>, 2> legs;
    std::array<std::vector<Leg*>, 2> byPort;  // of the target, by the side that listens to it
    std::vector<Ring> rings;
    std::unique_ptr<LoadPhases> phases;
    std::unique_ptr<Outbox> outbox;
    std::unique_ptr<Inbox> inbox;
    std::atomic<std::uint64_t> sent{0};
    std::atomic<std::uint64_t> received{0};
    std::atomic<bool> stopping{false};
    std::atomic<bool> flowing{true};
    DelayStatistics lateness;
    GeneratorHealth health;
    std::optional<ProcessCost> cost;
    ControlAnswers answers;
    int ready = 0;  // slots that were set up
    double seconds = 0;
};

}  // namespace lab
