// The module: its thread, which runs the control channel and the registration endpoint, and the configuration
// in force. One object a process, made by the gatekeeper search; it is stopped, never destroyed.
//
// Update(c) and Stop are for the thread that made the object, everything else runs on the module thread.
#pragma once

#include <pthread.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "app/Compressor/CompressorConfig.h"
#include "common/UStringX.h"
#include "platform/kernel/Event.h"
#include "platform/kernel/OSIndirectList.h"
#include "platform/kernel/OSTimerTrigger.h"

class ControlChannel;
class RasEndpoint;

class Compressor {
 public:
    // Starts the module thread.
    Compressor();
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;
    virtual ~Compressor();

    // Hands a configuration over, which is the module's from here on; null withdraws the one in force. Waits
    // until the module thread can be told. One that comes while another is in force is deleted.
    void Update(CompressorConfig* c);
    // Returns once the module thread has shut down and ended.
    void Stop();

    // What the module tells nobody: hooks of its kind that have nothing to do here.
    void OnRegistered() {}
    bool IsKey(char* /*key*/) { return false; }
    bool CallAllowed(bool /*incoming*/) { return true; }
    void CallCleared(bool /*incoming*/) {}

    std::unique_ptr<CompressorConfig> cfg;  // in force, null before the first; the module thread's
    OSIndirectList<OSListObj> calls;        // active calls

 private:
    static void* _Main(void* compressor);
    static void _shutdown(void* compressor);
    static void _UpdateTrigger(OSObj* compressor, void* param, unsigned long value);

    void Main();
    void Startup();
    void Shutdown();
    void Announce();
    void Update();
    void Updated() {}
    void Restart(std::unique_ptr<CompressorConfig> c);
    void StartCompressor();
    void StopCompressor();
    void Register();

    std::mutex handover;  // guards the next two
    std::unique_ptr<CompressorConfig> newcfg;
    bool handedOver = false;  // newcfg, which may be null, has not been looked at yet

    std::unique_ptr<ControlChannel> controlChan;
    std::unique_ptr<RasEndpoint> ras;
    std::atomic<OSTimerTrigger*> updateTrigger{nullptr};  // owned; null until Startup has made it
    std::atomic<HANDLE> event{nullptr};                   // null until the loop runs
    std::atomic<bool> terminate{false};
    bool stopping = false;
    pthread_t thread{};
};
