// Shares the port of a connected socket and hears everybody else who sends there: the system keeps their
// datagrams from the connected one, and they would be refused unseen. Delivers to the owner, on its thread.
#pragma once

#include <memory>

#include "platform/kernel/Readable.h"
#include "platform/kernel/Socket.h"

class AsyncSocket;

namespace kernel {

class TriggerLoop;

class StrangerSocket final : public Readable {
 public:
    StrangerSocket(AsyncSocket& owner, std::shared_ptr<TriggerLoop> loop);
    ~StrangerSocket();
    StrangerSocket(const StrangerSocket&) = delete;
    StrangerSocket& operator=(const StrangerSocket&) = delete;

    // Opens on the port of `bound`, the owner's. 0 or errno.
    int Open(Socket& bound);

    void OnReadable() override;
    bool IsMedia() const override { return true; }

 private:
    AsyncSocket& owner;
    const std::shared_ptr<TriggerLoop> loop;
    Socket socket;
};

}  // namespace kernel
