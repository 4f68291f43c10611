// Any datagram: what decodes is the same message when it is encoded and decoded again, and can be shown.
#include <cstdlib>

#include "platform/h323/RasMessage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::optional<RasMessage> message = RasMessage::Decode({data, size});
    if (!message) return 0;
    const std::string dump = message->Dump();
    const std::vector<std::uint8_t> octets = message->Encode();
    if (octets.empty()) {
        // Only a part that is passed over on receipt cannot be sent.
        if (dump.find("(not read)") == std::string::npos) std::abort();
        return 0;
    }
    if (RasMessage::Decode(octets) != message) std::abort();
    return 0;
}
