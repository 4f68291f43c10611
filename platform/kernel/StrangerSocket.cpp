// The second socket of a port.
#include "platform/kernel/StrangerSocket.h"

#include "platform/kernel/AsyncSocket.h"
#include "platform/kernel/TriggerLoop.h"

namespace kernel {

StrangerSocket::StrangerSocket(AsyncSocket& owner, std::shared_ptr<TriggerLoop> loop)
    : owner(owner), loop(std::move(loop)) {}

StrangerSocket::~StrangerSocket() {
    if (socket.IsOpen()) loop->Remove(*this, socket.Descriptor());
}

int StrangerSocket::Open(Socket& bound) {
    int error = socket.OpenBeside(bound);
    if (error == 0) error = loop->Add(*this, socket.Descriptor());
    if (error != 0) socket.Close();
    return error;
}

void StrangerSocket::OnReadable() {
    owner.Read(socket);
}

}  // namespace kernel
