#include "platform/h323/KnownGatekeepers.h"

#include <algorithm>
#include <deque>
#include <mutex>

namespace h323::KnownGatekeepers {
namespace {

constexpr std::size_t Most = 64;

struct Entry {
    SockAddr address;
    std::u16string identifier;
};

std::mutex lock;
std::deque<Entry> entries;  // oldest first

auto Find(const SockAddr& address) {
    return std::find_if(entries.begin(), entries.end(), [&](const Entry& e) { return e.address == address; });
}

}  // namespace

void Remember(const SockAddr& rasAddress, const std::u16string& identifier) {
    const std::lock_guard guard(lock);
    if (const auto known = Find(rasAddress); known != entries.end()) entries.erase(known);
    if (entries.size() == Most) entries.pop_front();
    entries.push_back({rasAddress, identifier});
}

std::optional<std::u16string> IdentifierOf(const SockAddr& rasAddress) {
    const std::lock_guard guard(lock);
    const auto known = Find(rasAddress);
    return known == entries.end() ? std::nullopt : std::optional(known->identifier);
}

}  // namespace h323::KnownGatekeepers
