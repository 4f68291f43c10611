#include "app/ControlChannel/RelayThread.h"

#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <string>

#include "app/ControlChannel/ConferenceMixer.h"
#include "app/ControlChannel/MediaPair.h"
#include "app/ControlChannel/RelayPacing.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/Scheduling.h"

namespace {

constexpr ULONG CycleTime = 10;  // ms

void PrintSchedulingError(int error) {
    switch (error) {
        case EPERM:
            Console->Print(
                "sched_setscheduler returned EPERM (calling process does not have superuser permissions)");
            break;
        case EINVAL:
            Console->Print("sched_setscheduler returned EINVAL (invalid policy or priority)");
            break;
        case ESRCH:
            Console->Print("sched_setscheduler returned ESRCH (target thread is invalid)");
            break;
        default:
            Console->Print("sched_setscheduler returned %d", error);
    }
}

// Moves one frame; false when none waits.
bool Move(MediaRelay& from, MediaRelay* to, bool conference) {
    OSBuf* frame = from.GetRxBuf();
    if (frame == nullptr) return false;
    if (conference) ConferenceMixer::Keep(from, *frame);
    if (to != nullptr) {
        to->Send(frame);
    } else {
        frame->Free();
    }
    return true;
}

}  // namespace

RelayThread::RelayThread(MediaPair* pair)
    : SimpleThread(false), parent(pair), event(CreateEvent(nullptr, false, false, nullptr)) {
    InitializeCriticalSection(&cs);
    Console->Print("RelayThread::RelayThread - chan %d", parent->chan);
    Start();
}

RelayThread::~RelayThread() {
    Stop();
    CloseHandle(event);
    DeleteCriticalSection(&cs);
    Console->Print("RelayThread::~RelayThread - chan %d", parent->chan);
}

void RelayThread::OnStop() {
    Console->Print("RelayThread::OnStop - chan %d", parent->chan);
    done = true;
    SetEvent(event);
}

void RelayThread::Main() {
    Console->Print("RelayThread::Main - chan %d - thread started", parent->chan);
    Settle();
    // Never re-based: after overruns the cycles catch up until they are back on the grid.
    ULONG tstamp = JoinGrid();
    while (!done) {
        Cycle();
        tstamp += CycleTime;
        Rest(tstamp);
    }
    Console->Print("RelayThread::Main - chan %d - thread exiting", parent->chan);
}

void RelayThread::Settle() {
    kernel::NameThread(("relay " + std::to_string(parent->chan)).c_str());
    RaisePriority();
    kernel::KeepOnProcessor(static_cast<unsigned>(parent->chan) / 2);
    kernel::LeaveRestartableSequences();
}

// A quarter of the slots share each of four grids, so that a processor is woken for many at once and is free
// between them, and two processors are not woken in the same milliseconds. Threads wake a millisecond before
// their deadlines, thus at even ones, when media was read a millisecond ago (TriggerLoop).
ULONG RelayThread::JoinGrid() {
    constexpr int Grids = 4;
    constexpr int Distance = 2;  // ms
    const auto grid = static_cast<ULONG>(1 + parent->chan / 2 % Grids * Distance);
    const ULONG now = os_clock();
    const ULONG wait = CycleTime - (now + CycleTime - grid) % CycleTime;
    Sleep(wait);
    return now + wait;
}

void RelayThread::RaisePriority() {
    int policy = SCHED_OTHER;
    sched_param param{};
    pthread_getschedparam(pthread_self(), &policy, &param);
    param.sched_priority = sched_get_priority_max(SCHED_RR);
    const int error = pthread_setschedparam(pthread_self(), SCHED_RR, &param);
    if (error != 0) PrintSchedulingError(error);
}

void RelayThread::Cycle() {
    const CriticalSectionLock held(parent->cs);
    MediaRelay* irelay = parent->internal->relay.get();
    MediaRelay* erelay = parent->external->relay.get();
    const bool conference = !parent->internal->conferenced_with.IsEmpty();

    loopmaxi2e = loopmaxe2i = RelayPacing::Unpaced;
    if (irelay != nullptr) Pace(*irelay, erelay);
    Transfer(irelay, erelay, conference);
    if (!conference) return;
    if (OSBuf* mix = ConferenceMixer::Mix(irelay, erelay))
        ConferenceMixer::Distribute(*parent->internal, mix);
}

void RelayThread::Pace(const MediaRelay& irelay, const MediaRelay* erelay) {
    if (irelay.holdMusic) {
        loopmaxi2e = 1;
        idelayrelay = 0;
    }
    const int mfppi = parent->internal->PacketTime();
    const int mfppe = parent->external->PacketTime();
    if (erelay == nullptr || mfppi == mfppe) return;
    if (!irelay.holdMusic) {
        const RelayPacing pacing = RelayPacing::Next(mfppe, irelay.rxq.Size(), idelayrelay);
        loopmaxi2e = pacing.limit;
        idelayrelay = pacing.phase;
    }
    const RelayPacing pacing = RelayPacing::Next(mfppi, erelay->rxq.Size(), edelayrelay);
    loopmaxe2i = pacing.limit;
    edelayrelay = pacing.phase;
}

void RelayThread::Transfer(MediaRelay* irelay, MediaRelay* erelay, bool conference) {
    bool ok = true;
    for (int loop = 0; ok; ++loop) {
        ok = false;
        if (irelay != nullptr && loop < loopmaxi2e) ok = Move(*irelay, erelay, conference);
        if (erelay != nullptr && loop < loopmaxe2i) ok = Move(*erelay, irelay, conference) || ok;
    }
}

void RelayThread::Rest(ULONG deadline) {
    const int spare = static_cast<int>(deadline - os_clock());
    if (spare < 0) parent->overruns.Add(1);
    const ULONG time = SleepTime(spare);
    parent->sleep_total.Add(time);
    parent->sleep_count.Add(1);
    Sleep(time);
}
