// What the foundation costs: a buffer, a list entry, a timer, a datagram through the loop and through the
// system, and an idle relay cycle's sleep.
#include <benchmark/benchmark.h>

#include <array>

#include "platform/kernel/Kernel.h"
#include "platform/kernel/OperatingSystem.h"
#include "platform/kernel/ReceiveBatch.h"

namespace {

class Silent final : public OSConsole {
 public:
    void vPrint(const char* /*str*/, va_list /*vargs*/) override {}
};

class Discard final : public OSIO {
 public:
    OSIORetCode DatagramIndication(OSBuf* buf, void* /*from*/, void* /*to*/) override {
        buf->Free();
        ++count;
        return Success;
    }
    int count = 0;
};

void Prepare() {
    static Silent console;
    static const bool once = [] {
        Console = &console;
        KernelCfg cfg;
        os_startup(0, 0, &cfg);
        OSTrigger::TLSInitialise();
        return true;
    }();
    benchmark::DoNotOptimize(once);
}

void BufferAllocFree(benchmark::State& state) {
    Prepare();
    for (auto _ : state) {
        OSBuf* buf = OSBuf::Alloc(130);
        benchmark::DoNotOptimize(buf->PushDown(80));
        buf->Free();
    }
}
BENCHMARK(BufferAllocFree)->Threads(1)->Threads(2);

void IndirectListAppendRemove(benchmark::State& state) {
    Prepare();
    OSIndirectList<int> list;
    int entry = 0;
    for (auto _ : state) {
        list.Append(&entry);
        benchmark::DoNotOptimize(list.RemoveFirst());
    }
}
BENCHMARK(IndirectListAppendRemove);

void TimerArmAmong(benchmark::State& state) {
    Prepare();
    std::vector<std::unique_ptr<OSTimerTrigger>> timers;
    for (int i = 0; i < state.range(0); ++i) {
        timers.push_back(std::make_unique<OSTimerTrigger>(0, 0));
        timers.back()->SetTimer(static_cast<ULONG>(60000 + i));
    }
    OSTimerTrigger timer(0, 0);
    ULONG ms = 60000;
    for (auto _ : state) timer.SetTimer(ms ^= 0x1FFF);
}
BENCHMARK(TimerArmAmong)->Arg(10)->Arg(1000);

void DatagramThroughTheLoop(benchmark::State& state) {
    Prepare();
    Discard sink;
    auto* receiver = new AsyncSocket(false);
    auto* sender = new AsyncSocket(false);
    receiver->Create(AsyncSocket::Datagram, 0, INADDR_LOOPBACK, true);
    sender->Create(AsyncSocket::Datagram, 0, INADDR_LOOPBACK, true);
    receiver->Bind(&sink);
    SockAddr to(INADDR_LOOPBACK, static_cast<UWORD>(receiver->LocalPort()));
    for (auto _ : state) {
        OSBuf* buf = OSBuf::Alloc(172);
        buf->PushDown(172);
        sender->DatagramIndication(buf, nullptr, &to);
        WaitForSingleObject(OSTrigger::TLSGetEvent(), -1);
        OSTrigger::TLSPoll();
    }
    state.counters["received"] = sink.count;
    receiver->Free();
    sender->Free();
}
BENCHMARK(DatagramThroughTheLoop);

// What the system alone takes for it: with a peer that it knows or one named for each, and asking for one or
// two.
void DatagramSentAndRead(benchmark::State& state) {
    Prepare();
    Socket sender;
    Socket receiver;
    for (Socket* socket : {&sender, &receiver}) socket->Open(SockAddr(INADDR_LOOPBACK, 0), false);
    const sockaddr_in to = SockAddr(INADDR_LOOPBACK, receiver.LocalPort()).Native();
    const bool connected = state.range(0) != 0;
    if (connected) kernel::System().ConnectSocket(sender.Descriptor(), to);
    const std::array<UBYTE, 172> packet{};
    kernel::ReceiveBatch batch;
    for (auto _ : state) {
        kernel::System().SendDatagram(sender.Descriptor(), packet, connected ? nullptr : &to);
        kernel::System().ReceiveDatagrams(receiver.Descriptor(),
                                          batch.Prepare(static_cast<int>(state.range(1))));
    }
}
BENCHMARK(DatagramSentAndRead)->ArgNames({"connected", "room"})->ArgsProduct({{0, 1}, {1, 2}});

}  // namespace
