#include "tools/lab/LoadGenerator.h"

#include <linux/sock_diag.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <thread>
#include <utility>

#include "tools/lab/Call.h"
#include "tools/lab/ControlProbe.h"
#include "tools/lab/LoadThread.h"
#include "tools/lab/ProcessMeter.h"

namespace lab {

namespace {

constexpr std::int64_t NsPerMs = 1'000'000;
constexpr std::int64_t NsPerSecond = 1'000'000'000;
constexpr std::int64_t TickNs = NsPerMs;
constexpr std::int64_t StallNs =
    40 * NsPerMs;  // when we are so late, the clock of sending begins anew: no bursts
constexpr std::int64_t LookNs = 20 * NsPerMs;   // how soon the end of the flow is noticed
constexpr std::int64_t RestNs = 500 * NsPerMs;  // more than the module may hold back
constexpr int ReceiveRoom = 8 << 20;
constexpr std::size_t ReceiveBatch = 64;
constexpr std::size_t PacketsApart = 37;  // by which the slots' places in the speech differ

double ThreadCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / NsPerSecond;
}

void SleepUntil(std::int64_t wallNs) {
    const timespec until{wallNs / NsPerSecond, wallNs % NsPerSecond};
    clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &until, nullptr);
}

std::uint64_t DropsOf(const UdpSocket& socket) {
    std::array<ULONG, SK_MEMINFO_VARS> info{};
    socklen_t size = sizeof info;
    getsockopt(socket.Descriptor(), SOL_SOCKET, SO_MEMINFO, info.data(), &size);
    return info[SK_MEMINFO_DROPS];
}

}  // namespace

struct LoadGenerator::Leg {
    Leg(const LegSettings& settings, std::shared_ptr<const CodedSpeech> speech, std::size_t firstPacket)
        : sender(std::move(speech), firstPacket), receiver(settings.codec, false) {}

    const UdpPair* pair = nullptr;
    sockaddr_in far{};
    RtpSender sender;
    RtpReceiver receiver;
    std::shared_ptr<DelayMatcher> spoken;  // what this leg says, as its other side hears it
};

// Legs of one side, each due once a packet time, evenly spread.
struct LoadGenerator::Ring {
    std::span<const std::unique_ptr<Leg>> legs;
    std::int64_t intervalNs;
    std::int64_t startNs;
    std::int64_t rounds;  // packets that each leg sends
    std::int64_t next = 0;

    std::int64_t Due() const {
        const auto count = static_cast<std::int64_t>(legs.size());
        return startNs + next / count * intervalNs + next % count * intervalNs / count;
    }
    bool IsOver() const { return next >= rounds * static_cast<std::int64_t>(legs.size()); }
};

struct LoadGenerator::Outbox {
    std::size_t count = 0;
    std::array<Leg*, SendBatch> legs{};
    std::array<std::array<UBYTE, RtpSender::MaxPacket>, SendBatch> packets;
    std::array<iovec, SendBatch> parts{};
    std::array<mmsghdr, SendBatch> messages{};
};

struct LoadGenerator::Inbox {
    std::array<std::array<UBYTE, RtpSender::MaxPacket>, ReceiveBatch> packets;
    std::array<std::array<UBYTE, 64>, ReceiveBatch> controls;
    std::array<sockaddr_in, ReceiveBatch> from{};
    std::array<iovec, ReceiveBatch> parts{};
    std::array<mmsghdr, ReceiveBatch> messages{};
};

LoadGenerator::LoadGenerator(LoadTarget& aim, const LoadOptions& wanted)
    : target(aim), options(wanted), outbox(std::make_unique<Outbox>()), inbox(std::make_unique<Inbox>()) {
    for (std::vector<Leg*>& table : byPort) table.resize(UINT16_MAX + 1);
}

LoadGenerator::~LoadGenerator() {
    Release();
}

bool LoadGenerator::Prepare(const SpeechSource& speech, std::string& error) {
    if (!OpenSockets(error)) return false;
    MakeLegs(speech);
    return SetUpSlots(error);
}

bool LoadGenerator::OpenSockets(std::string& error) {
    const int count = (options.AllSlots() + SlotsPerSocket - 1) / SlotsPerSocket;
    for (std::vector<UdpPair>& side : sockets) {
        side.resize(static_cast<std::size_t>(count));
        for (UdpPair& pair : side) {
            if (!pair.Open(target.OwnAddress(), error)) return false;
            pair.rtp.SetReceiveRoom(ReceiveRoom);
        }
    }
    return true;
}

void LoadGenerator::MakeLegs(const SpeechSource& speech) {
    for (int side = 0; side < 2; ++side) {
        const LegSettings& settings = options.legs[side];
        const std::shared_ptr<const CodedSpeech> coded = speech.Code(settings.codec, settings.packetMs);
        const std::shared_ptr<const SpeechReference> heard =
            SpeechReference::Of(*coded, options.legs[1 - side].codec);
        for (int slot = 0; slot < options.AllSlots(); ++slot) {
            const std::size_t first =
                static_cast<std::size_t>(2 * slot + side) * PacketsApart % coded->Packets();
            auto leg = std::make_unique<Leg>(settings, coded, first);
            leg->pair = &sockets[side][static_cast<std::size_t>(slot / SlotsPerSocket)];
            leg->spoken = std::make_shared<DelayMatcher>(*coded, first, heard);
            legs[side].push_back(std::move(leg));
        }
    }
    for (int side = 0; side < 2; ++side) {
        for (std::size_t slot = 0; slot < legs[side].size(); ++slot)
            legs[1 - side][slot]->receiver.Measure(legs[side][slot]->spoken);
    }
}

bool LoadGenerator::SetUpSlots(std::string& error) {
    while (ready < options.AllSlots()) {
        const int slot = ready++;
        std::array<LoadTarget::Leg, 2> plan;
        for (int side = 0; side < 2; ++side) {
            plan[side].settings = options.legs[side];
            plan[side].own = legs[side][static_cast<std::size_t>(slot)]->pair->rtp.Local();
        }
        if (!target.SetUp(slot, plan, error)) return false;
        for (int side = 0; side < 2; ++side) Connect(side, slot, plan[side]);
    }
    return true;
}

void LoadGenerator::Connect(int side, int slot, const LoadTarget::Leg& plan) {
    Leg& leg = *legs[side][static_cast<std::size_t>(slot)];
    leg.far = plan.far.Native();
    byPort[side][plan.far.Port()] = &leg;
    if (!plan.keys) return;
    leg.sender.Protect(plan.keys->Outbound());
    leg.receiver.Protect(plan.keys->Inbound());
}

bool LoadGenerator::Release() {
    bool all = true;
    while (ready > 0) all = target.Release(--ready) && all;
    return all;
}

void LoadGenerator::Run(const std::function<bool(const Progress&)>& onSecond) {
    ProcessMeter meter(target.Process());
    meter.Begin();
    ControlProbe probe(target);
    const std::int64_t begin = WallNs();
    std::thread worker(&LoadGenerator::Generate, this);
    for (std::int64_t due = begin + NsPerSecond; flowing; due += NsPerSecond) {
        while (flowing && WallNs() < due) SleepUntil(std::min(due, WallNs() + LookNs));
        if (!flowing) break;
        meter.Look();
        const double elapsed = static_cast<double>(WallNs() - begin) / NsPerSecond;
        if (!onSecond({elapsed, sent, received})) stopping = true;
    }
    cost = meter.End();
    answers = probe.Stop();
    worker.join();
}

void LoadGenerator::Generate() {
    BecomeLoadThread("load");
    const double cpuBefore = ThreadCpuSeconds();
    const std::int64_t start = WallNs() + 2 * TickNs;
    MakeRings(start);
    bool goesOn = true;
    for (std::int64_t tick = start; goesOn; tick += TickNs) {
        SleepUntil(tick);
        const std::int64_t now = WallNs();
        goesOn = false;
        for (Ring& ring : rings) goesOn = SendDue(ring, now) || goesOn;
        ReceiveAll();
        if (phases->IsDue(now)) TakePhase(now);
    }
    seconds = static_cast<double>(WallNs() - start) / NsPerSecond;
    health.cpuPerSecond = (ThreadCpuSeconds() - cpuBefore) / std::max(seconds, 0.001);
    flowing = false;
    for (const std::int64_t end = WallNs() + RestNs; WallNs() < end;) {
        SleepUntil(WallNs() + TickNs);
        ReceiveAll();
    }
}

void LoadGenerator::MakeRings(std::int64_t start) {
    phases = std::make_unique<LoadPhases>(options, start);
    const auto usual = static_cast<std::size_t>(options.slots);
    for (int side = 0; side < 2; ++side) {
        const std::span all(legs[side]);
        const std::int64_t interval = options.legs[side].packetMs * NsPerMs;
        rings.push_back({all.first(usual), interval, start, options.seconds * NsPerSecond / interval});
        if (options.overload == 0) continue;
        rings.push_back({all.subspan(usual), interval, phases->OverloadNs(),
                         options.overloadSeconds * NsPerSecond / interval});
    }
}

// Of every direction of every slot.
void LoadGenerator::TakePhase(std::int64_t now) {
    std::vector<LoadPhases::Count> counts;
    for (int side = 0; side < 2; ++side)
        for (std::size_t slot = 0; slot < legs[side].size(); ++slot) counts.push_back(CountOf(side, slot));
    phases->Take(now, counts);
}

// What a leg has said, as its other side was to hear it and did.
LoadPhases::Count LoadGenerator::CountOf(int side, std::size_t slot) const {
    const std::uint64_t expected =
        PacketsExpected(legs[side][slot]->spoken->PacketsSent(), options.legs[side].packetMs,
                        options.legs[1 - side].packetMs);
    return {expected, legs[1 - side][slot]->receiver.Counts().audio};
}

// False when the ring has sent everything.
bool LoadGenerator::SendDue(Ring& ring, std::int64_t now) {
    const auto count = static_cast<std::int64_t>(ring.legs.size());
    if (stopping) ring.rounds = std::min(ring.rounds, (ring.next + count - 1) / count);
    if (!ring.IsOver() && now - ring.Due() > StallNs) {
        ++health.stalls;
        lateness.Add((now - ring.Due()) / 1000);
        ring.startNs += now - ring.Due();
    }
    while (!ring.IsOver() && ring.Due() <= now) {
        lateness.Add((now - ring.Due()) / 1000);
        Queue(*ring.legs[static_cast<std::size_t>(ring.next % count)]);
        ++ring.next;
    }
    Flush();
    return !ring.IsOver();
}

void LoadGenerator::Queue(Leg& leg) {
    if (outbox->count == SendBatch || (outbox->count > 0 && outbox->legs[0]->pair != leg.pair)) Flush();
    const std::size_t i = outbox->count++;
    outbox->legs[i] = &leg;
    outbox->parts[i] = {outbox->packets[i].data(), leg.sender.Next(outbox->packets[i])};
    msghdr& header = outbox->messages[i].msg_hdr;
    header = {};
    header.msg_name = &leg.far;
    header.msg_namelen = sizeof leg.far;
    header.msg_iov = &outbox->parts[i];
    header.msg_iovlen = 1;
}

void LoadGenerator::Flush() {
    const std::size_t count = std::exchange(outbox->count, 0);
    if (count == 0) return;
    const std::int64_t now = WallNs();
    for (std::size_t i = 0; i < count; ++i) outbox->legs[i]->spoken->OnSent(now);
    for (std::size_t done = 0; done < count;) {
        const int result = sendmmsg(outbox->legs[0]->pair->rtp.Descriptor(), &outbox->messages[done],
                                    static_cast<unsigned>(count - done), 0);
        if (result <= 0) ++health.sendErrors;
        done += static_cast<std::size_t>(std::max(result, 1));  // what cannot be sent is passed over
    }
    sent += count;
}

void LoadGenerator::ReceiveAll() {
    for (int side = 0; side < 2; ++side) {
        for (UdpPair& pair : sockets[side]) {
            ReceiveFrom(side, pair.rtp);
            while (pair.rtcp.Receive(0)) {
            }
        }
    }
}

void LoadGenerator::ReceiveFrom(int side, UdpSocket& socket) {
    for (int count = ReceiveBatch; count == static_cast<int>(ReceiveBatch);) {
        for (std::size_t i = 0; i < ReceiveBatch; ++i) {
            inbox->parts[i] = {inbox->packets[i].data(), inbox->packets[i].size()};
            msghdr& header = inbox->messages[i].msg_hdr;
            header = {};
            header.msg_name = &inbox->from[i];
            header.msg_namelen = sizeof inbox->from[i];
            header.msg_iov = &inbox->parts[i];
            header.msg_iovlen = 1;
            header.msg_control = inbox->controls[i].data();
            header.msg_controllen = inbox->controls[i].size();
        }
        count = recvmmsg(socket.Descriptor(), inbox->messages.data(), ReceiveBatch, MSG_DONTWAIT, nullptr);
        for (int i = 0; i < count; ++i) Deliver(side, inbox->messages[static_cast<std::size_t>(i)]);
    }
}

void LoadGenerator::Deliver(int side, mmsghdr& message) {
    const auto& from = *static_cast<const sockaddr_in*>(message.msg_hdr.msg_name);
    Leg* leg = byPort[side][ntohs(from.sin_port)];
    if (leg == nullptr || leg->far.sin_addr.s_addr != from.sin_addr.s_addr) return;
    auto* bytes = static_cast<UBYTE*>(message.msg_hdr.msg_iov->iov_base);
    leg->receiver.OnDatagram({bytes, message.msg_len}, UdpSocket::ArrivalNs(message.msg_hdr));
    ++received;
}

// What the kernel has dropped at the target's sockets, from /proc/net/udp: the local address is field 1,
// drops are the last.
std::uint64_t LoadGenerator::DropsOfTarget() const {
    std::uint64_t drops = 0;
    std::unique_ptr<FILE, int (*)(FILE*)> table(std::fopen("/proc/net/udp", "r"), std::fclose);
    if (!table) return 0;
    for (std::array<char, 256> line; std::fgets(line.data(), line.size(), table.get()) != nullptr;) {
        unsigned port = 0;
        unsigned long count = 0;
        if (std::sscanf(line.data(), " %*d: %*8x:%4x %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %lu", &port,
                        &count) != 2)
            continue;
        if (byPort[0][port & UINT16_MAX] != nullptr || byPort[1][port & UINT16_MAX] != nullptr)
            drops += count;
    }
    return drops;
}

LoadResult LoadGenerator::Collect() {
    LoadResult result;
    result.options = options;
    result.seconds = seconds;
    for (int side = 0; side < 2; ++side) CollectDirection(side, result.directions[side]);
    health.lateness = lateness.Summarise();
    health.targetDrops = DropsOfTarget();
    for (const std::vector<UdpPair>& side : sockets)
        for (const UdpPair& pair : side) health.ownDrops += DropsOf(pair.rtp);
    result.generator = health;
    result.process = cost;
    result.control = answers;
    if (phases) result.phases = phases->Results();
    return result;
}

// What the legs of `side` said, as their other sides heard it.
void LoadGenerator::CollectDirection(int side, DirectionResult& into) {
    for (std::size_t slot = 0; slot < legs[side].size(); ++slot) {
        DelayMatcher& spoken = *legs[side][slot]->spoken;
        const ReceiveCounts counts = legs[1 - side][slot]->receiver.Counts();
        const std::uint64_t expected = CountOf(side, slot).expected;
        const std::uint64_t lost = expected > counts.audio ? expected - counts.audio : 0;
        into.sent += spoken.PacketsSent();
        into.expected += expected;
        into.received += counts.audio;
        into.lost += lost;
        into.slotsWithLoss += lost > 0 ? 1 : 0;
        into.late += counts.late;
        into.duplicates += counts.duplicates;
        into.pauses += counts.pauses;
        into.refused += counts.malformed + counts.unauthentic + counts.foreign;
        into.jitterMeanMs += counts.worstJitterMs / static_cast<double>(legs[side].size());
        into.jitterMaxMs = std::max(into.jitterMaxMs, counts.worstJitterMs);
        const DelayResult delay = spoken.Finish(
            [this](std::int64_t arrivalNs, std::int64_t us) { phases->OnDelay(arrivalNs, us); });
        into.slips += delay.slips;
        into.unmeasured += delay.unmatched;
        into.delays.Add(delay.delays);
    }
}

}  // namespace lab
