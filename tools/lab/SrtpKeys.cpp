#include "tools/lab/SrtpKeys.h"

#include <sys/random.h>

namespace lab {

namespace {

void Fill(std::span<UBYTE> bytes) {
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) std::abort();
}

void Append(std::vector<UBYTE>& block, std::span<const UBYTE> field) {
    block.push_back(static_cast<UBYTE>(field.size()));
    block.insert(block.end(), field.begin(), field.end());
}

}  // namespace

SrtpKeys SrtpKeys::Random(Suite suite) {
    SrtpKeys keys;
    keys.suite = suite;
    Fill(keys.localKey);
    Fill(keys.localSalt);
    Fill(keys.remoteKey);
    Fill(keys.remoteSalt);
    return keys;
}

std::optional<SrtpKeys::Suite> SrtpKeys::SuiteFromName(std::string_view name) {
    if (name == "80") return Sha1_80;
    if (name == "32") return Sha1_32;
    return std::nullopt;
}

std::vector<UBYTE> SrtpKeys::KeyBlock() const {
    std::vector<UBYTE> block{suite};
    Append(block, localKey);
    Append(block, localSalt);
    block.push_back(suite);
    Append(block, remoteKey);
    Append(block, remoteSalt);
    return block;
}

std::unique_ptr<media::SrtpSession> SrtpKeys::Outbound() const {
    return media::SrtpSession::Create(media::SrtpSession::Outbound, TagLength(), remoteKey, remoteSalt);
}

std::unique_ptr<media::SrtpSession> SrtpKeys::Inbound() const {
    return media::SrtpSession::Create(media::SrtpSession::Inbound, TagLength(), localKey, localSalt);
}

}  // namespace lab
