#include "platform/media/srtp/ReplayWindow.h"

namespace srtp {

bool ReplayWindow::IsNew(std::uint64_t index) const {
    if (index > highest) return true;
    const std::uint64_t age = highest - index;
    return age < Size && !used[age];
}

void ReplayWindow::Add(std::uint64_t index) {
    if (index > highest) {
        used <<= index - highest;  // all of them may go
        highest = index;
    }
    used.set(highest - index);
}

}  // namespace srtp
