#include "app/Compressor/Compressor.h"

#include "app/CallRecord/RasEndpoint.h"
#include "app/Compressor/Discovery.h"
#include "app/ControlChannel/ControlChannel.h"
#include "app/Globals.h"
#include "platform/kernel/Clock.h"
#include "platform/kernel/OSConsole.h"
#include "platform/kernel/Scheduling.h"

namespace {
constexpr ULONG AtOnceMs = 1;
constexpr ULONG PollMs = 10;
}  // namespace

Compressor::Compressor() {
    pthread_create(&thread, &std_thread_attr, _Main, this);
}

Compressor::~Compressor() {
    Console->Print("Compressor %p Terminated", static_cast<void*>(this));
}

void* Compressor::_Main(void* compressor) {
    static_cast<Compressor*>(compressor)->Main();
    return nullptr;
}

void Compressor::_shutdown(void* compressor) {
    Console->Print("Shutdown2");
    static_cast<Compressor*>(compressor)->Shutdown();
}

void Compressor::_UpdateTrigger(OSObj* compressor, void* /*param*/, unsigned long /*value*/) {
    static_cast<Compressor*>(compressor)->Update();
}

void Compressor::Main() {
    Console->Print("Compressor Task Starting...");
    Startup();
    pthread_cleanup_push(_shutdown, this);
    Console->Print("Compressor Task Started %p", static_cast<void*>(this));
    // Stop writes `terminate` before it reads `event`, so that one of the two threads sees what the other
    // did.
    event = OSTrigger::TLSGetEvent();
    while (!terminate) {
        WaitForSingleObject(event, -1);
        OSTrigger::TLSPoll();
    }
    pthread_cleanup_pop(0);
    Console->Print("Compressor %p Terminating", static_cast<void*>(this));
    Shutdown();
}

void Compressor::Startup() {
    Console->Print("Compressor::Main - TLSTrigger...");
    OSTrigger::TLSInitialise();
    kernel::NameThread("module");
    // Ordinary threads, the call server's among them, must not keep audio from the relay threads.
    kernel::TakeTurnsWithRealTimeThreads();
    auto trigger = std::make_unique<OSTimerTrigger>(0, 0);
    trigger->SetCallback(_UpdateTrigger, this, nullptr, 0);
    updateTrigger = trigger.release();
    controlChan = std::make_unique<ControlChannel>(compressionBase);
    Console->Print("Compressor::Startup - RasEndpoint...");
    ras = std::make_unique<RasEndpoint>(this, UWORD{0});
    Announce();
    stopping = false;
}

// What every registration tells the gatekeeper about the module.
void Compressor::Announce() {
    ras->controlPort = controlChan->GetPort();
    ras->compressionBase = static_cast<UWORD>(compressionBase);
    ras->compressionQuantity = static_cast<ULONG>(compressionQuantity);
    ras->relayQuantity = static_cast<ULONG>(relayQuantity);
}

void Compressor::Shutdown() {
    if (stopping) {
        Console->Print("Compressor::Shutdown - already shutting down!!!");
        return;
    }
    stopping = true;
    Console->Print("Compressor Closing... %p", static_cast<void*>(this));
    StopCompressor();
    Console->Print("Compressor::Shutdown - RasEndpoint...");
    ras.reset();
    controlChan.reset();
    delete updateTrigger.exchange(nullptr);
    Console->Print("Compressor::Shutdown - TLSTrigger...");
    OSTrigger::TLSUninitialise();
    cfg.reset();
    Console->Print("Compressor::Shutdown - complete.");
}

void Compressor::Stop() {
    terminate = true;
    SetEvent(event);
    pthread_join(thread, nullptr);
}

void Compressor::Update(CompressorConfig* c) {
    {
        const std::lock_guard<std::mutex> lock(handover);
        newcfg.reset(c);
        handedOver = true;
    }
    while (updateTrigger == nullptr) Sleep(PollMs);
    updateTrigger.load()->SetTimer(AtOnceMs);
}

void Compressor::Update() {
    std::unique_ptr<CompressorConfig> handed;
    {
        const std::lock_guard<std::mutex> lock(handover);
        // Two hand-overs in quick succession may have been taken together.
        if (!handedOver) return;
        handedOver = false;
        handed = std::move(newcfg);
    }
    if (cfg != nullptr && handed != nullptr) return;
    if (!calls.IsEmpty()) {
        Console->Print("Compressor::Update - config changed but calls active - leaving for later");
        return;
    }
    Console->Print("Compressor::Update - Config changed");
    Restart(std::move(handed));
    Updated();
}

void Compressor::Restart(std::unique_ptr<CompressorConfig> c) {
    if (cfg != nullptr) {
        Console->Print("Compressor::Restart - Stopping Compressor task");
        StopCompressor();
    }
    cfg = std::move(c);
    if (cfg == nullptr) return;
    Console->Print("Compressor::Restart - Compressor Starting...");
    StartCompressor();
}

void Compressor::StartCompressor() {
    Console->Print("Compressor::StartCompressor - Register");
    Register();
}

void Compressor::StopCompressor() {
    ras->Unregister();
}

void Compressor::Register() {
    Console->Print("Compressor::Register");
    UString alias(hardware_id);
    if (cfg->gkSearchAddr.IsEmpty()) {
        Console->Print("Compressor::StartCompressor - ras->Register");
        ras->Register(&alias, nullptr);
        return;
    }
    const char* address = cfg->gkSearchAddr;
    Console->Print("Compressor::StartCompressor - ras->Register %s:%u", address, cfg->gkSearchPort);
    const SockAddr gatekeeper(address, cfg->gkSearchPort);
    ras->Register(&alias, &gatekeeper);
}
