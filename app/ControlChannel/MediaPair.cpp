#include "app/ControlChannel/MediaPair.h"

#include "app/ControlChannel/RelayThread.h"
#include "app/Globals.h"
#include "platform/kernel/OSConsole.h"

namespace {

// What one leg reports.
struct LegReport {
    unsigned long rx;
    unsigned long tx;
    unsigned confq;    // ms
    unsigned backlog;  // ms
    unsigned long txdiscards;
    unsigned long txdiscards2;
    ULONG discardCount;  // the endpoint's running count
    unsigned long discards;
    unsigned long delay;  // ms
};

constexpr ULONG PerSecond(ULONG count) {
    return count * 1000 / 10000;
}

ULONG TakeAverageDelay(MediaRelay* relay) {
    if (relay == nullptr) return 0;
    const ULONG count = relay->delay_count.Take();
    const ULONG sum = relay->delay.Take();
    return count != 0 ? sum / count : 0;
}

LegReport Read(const MediaChannel& leg) {
    const MediaRelay* relay = leg.relay.get();
    const RTPEndPoint* endpoint = leg.rtpendpoint.get();
    const ULONG discardCount = endpoint != nullptr ? endpoint->rxdiscards : 0;
    return {.rx = PerSecond(leg.rxcount),
            .tx = PerSecond(leg.txcount),
            .confq = relay != nullptr ? relay->confq.Size() * 10U : 0,
            .backlog = endpoint != nullptr ? endpoint->rxlen >> 3 : 0,
            .txdiscards = PerSecond(leg.txdiscards),
            .txdiscards2 = PerSecond(leg.txdiscards2),
            .discardCount = discardCount,
            .discards = discardCount - leg.last_rxdiscard_count,
            .delay = TakeAverageDelay(leg.relay.get())};
}

void StartPeriod(MediaChannel& leg, const LegReport& last) {
    leg.rxcount.Reset();
    leg.txcount.Reset();
    leg.txdiscards.Reset();
    leg.txdiscards2.Reset();
    leg.last_rxdiscard_count = last.discardCount;
}

// Hundredths of a percent of its 10 ms cycle that a relay thread did not sleep.
int Load(ULONG sleepTotal, ULONG sleepCount) {
    return sleepCount != 0 ? static_cast<int>(10000 - sleepTotal * 100 / sleepCount * 10) : 0;
}

int ConferenceSize(MediaPair& pair) {
    const CriticalSectionLock held(pair.cs);
    return pair.internal->conferenced_with.Size();
}

void PrintInternal(MediaPair& pair, const LegReport& r) {
    const int load = Load(pair.sleep_total, pair.sleep_count);
    Console->Print(
        "Stats: %3d - rx %3lu, tx %3lu, confq %3ums, rtp rxlen %3ums, tx discards (%3lu, %3lu), rx discards "
        "%lu, avg delay %2lums, conf %2d, load %u.%02u%%",
        pair.chan, r.rx, r.tx, r.confq, r.backlog, r.txdiscards, r.txdiscards2, r.discards, r.delay,
        ConferenceSize(pair), load / 100, load % 100);
}

void PrintExternal(const MediaPair& pair, const LegReport& r) {
    Console->Print(
        "Stats: %3d - rx %3lu, tx %3lu, confq %3ums, rtp rxlen %3ums, tx discards (%3lu, %3lu), rx discards "
        "%lu, avg delay %2lums",
        pair.chan + 1, r.rx, r.tx, r.confq, r.backlog, r.txdiscards, r.txdiscards2, r.discards, r.delay);
}

}  // namespace

// Never destroyed: pairs and their relay threads live on while the process shuts down.
OSIndirectList<MediaPair>& MediaPair::pairs = *new OSIndirectList<MediaPair>;

MediaPair* MediaPair::Get(ControlChannel* controlChan, int chan, int portbase, bool create) {
    const int key = chan & ~1;
    for (MediaPair* pair : pairs)
        if (pair->chan == key) return pair;
    if (!create) return nullptr;

    auto pair = std::make_unique<MediaPair>(key, portbase);
    pair->controlChan = controlChan;
    pairs.Append(pair.get());
    return pair.release();
}

void MediaPair::Free(MediaPair* pair) {
    if (pair == nullptr) return;
    pairs.Remove(pair);
    delete pair;
}

MediaPair::MediaPair(int chan, int portbase) : chan(chan) {
    InitializeCriticalSection(&cs);
    internal = std::make_unique<MediaChannel>(this, portbase, chan);
    external = std::make_unique<MediaChannel>(this, portbase, chan + 1);
    if (!real_hardware) thread = std::make_unique<RelayThread>(this);
}

MediaPair::~MediaPair() {
    thread.reset();  // first: from here on no relay cycle touches the legs
    external.reset();
    internal.reset();
    DeleteCriticalSection(&cs);
}

void MediaPair::TraceStats() {
    const LegReport internalReport = Read(*internal);
    const LegReport externalReport = Read(*external);
    if (internal->relay != nullptr) PrintInternal(*this, internalReport);
    StartPeriod(*internal, internalReport);
    sleep_total.Reset();
    sleep_count.Reset();
    if (external->relay != nullptr) PrintExternal(*this, externalReport);
    StartPeriod(*external, externalReport);
}
