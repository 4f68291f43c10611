// Room for one read.
#include "platform/kernel/ReceiveBatch.h"

#include <cstring>

namespace kernel {

ReceiveBatch::ReceiveBatch() {
    for (std::size_t i = 0; i < Datagrams; ++i) {
        vectors[i] = {bytes[i].data(), bytes[i].size()};
        messages[i].msg_hdr.msg_iov = &vectors[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &names[i];
    }
}

std::span<mmsghdr> ReceiveBatch::Prepare(int count) {
    const std::span<mmsghdr> room = std::span(messages).first(static_cast<std::size_t>(count));
    for (mmsghdr& message : room) {
        message.msg_hdr.msg_namelen = sizeof(sockaddr_in);
        message.msg_hdr.msg_flags = 0;
    }
    return room;
}

std::span<const UBYTE> ReceiveBatch::Bytes(int index) const {
    const auto at = static_cast<std::size_t>(index);
    return {bytes[at].data(), messages[at].msg_len};
}

bool ReceiveBatch::IsTruncated(int index) const {
    return (messages[static_cast<std::size_t>(index)].msg_hdr.msg_flags & MSG_TRUNC) != 0;
}

void ReceiveBatch::Wipe(int index) {
    const auto at = static_cast<std::size_t>(index);
    explicit_bzero(bytes[at].data(), messages[at].msg_len);
}

}  // namespace kernel
