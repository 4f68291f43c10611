#include "tools/lab/RtpPeer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "platform/kernel/Clock.h"

namespace lab {

namespace {

constexpr std::int64_t NsPerMs = 1'000'000;
constexpr std::int64_t IdleNs = 50 * NsPerMs;  // how often an idle peer looks at its digits and reports
constexpr int ReceiveRoom = 1 << 20;

std::shared_ptr<const CodedSpeech> Silence(Codec codec, int packetMs) {
    return SpeechSource(std::vector<std::int16_t>(SampleRate)).Code(codec, packetMs);
}

}  // namespace

RtpPeer::RtpPeer(const Setup& wanted)
    : setup(wanted),
      sender(Silence(wanted.codec, wanted.packetMs), 0),
      receiver(wanted.codec, wanted.record),
      events(wanted.packetMs) {
    if (!setup.keys) return;
    sender.Protect(setup.keys->Outbound());
    receiver.Protect(setup.keys->Inbound());
    reporter.Protect(setup.keys->Outbound(), setup.keys->Inbound());
}

RtpPeer::~RtpPeer() {
    if (thread.joinable()) {
        {
            const std::lock_guard held(lock);
            stopping = true;
        }
        eventfd_write(wake, 1);
        thread.join();
    }
    if (wake >= 0) close(wake);
}

bool RtpPeer::Open(std::string& error) {
    if (!pair.Open(setup.address, error)) return false;
    pair.rtp.SetReceiveRoom(ReceiveRoom);
    wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    thread = std::thread(&RtpPeer::Run, this);
    return true;
}

void RtpPeer::ConnectTo(const SockAddr& newLeg) {
    const std::lock_guard held(lock);
    leg = newLeg;
    reportDue = WallNs() + RtcpReporter::IntervalNs;
}

void RtpPeer::Talk(std::shared_ptr<const CodedSpeech> speech, std::size_t firstPacket) {
    {
        const std::lock_guard held(lock);
        sender.Say(std::move(speech), firstPacket);
        talking = true;
        if (due == 0) due = WallNs();
    }
    eventfd_write(wake, 1);
}

void RtpPeer::Hush() {
    const std::lock_guard held(lock);
    talking = false;
}

bool RtpPeer::SendDigit(char key, int ms) {
    bool added = false;
    {
        const std::lock_guard held(lock);
        added = events.Add(key, ms);
        if (added && due == 0) due = WallNs();
    }
    eventfd_write(wake, 1);
    return added;
}

bool RtpPeer::SendRtp(std::span<const UBYTE> bytes) {
    const std::lock_guard held(lock);
    return pair.rtp.SendTo(bytes, leg);
}

bool RtpPeer::SendRtcp(std::span<const UBYTE> bytes) {
    const std::lock_guard held(lock);
    return pair.rtcp.SendTo(bytes, SockAddr(leg.Address(), leg.Port() + 1));
}

std::shared_ptr<DelayMatcher> RtpPeer::MeasureTo(RtpPeer& listener,
                                                 const std::shared_ptr<const CodedSpeech>& speech,
                                                 std::size_t firstPacket) {
    auto matcher = std::make_shared<DelayMatcher>(*speech, firstPacket,
                                                  SpeechReference::Of(*speech, listener.setup.codec));
    {
        const std::lock_guard held(listener.lock);
        listener.receiver.Measure(matcher);
    }
    const std::lock_guard held(lock);
    outgoing = matcher;
    return matcher;
}

// The thread.

void RtpPeer::Run() {
    for (;;) {
        Wait();
        const std::lock_guard held(lock);
        if (stopping) return;
        DrainRtp();
        DrainRtcp();
        Tick();
        receiver.OnTime();
        changed.notify_all();
    }
}

std::int64_t RtpPeer::NextDue() const {
    const std::lock_guard held(lock);
    return due != 0 ? due : WallNs() + IdleNs;
}

void RtpPeer::Wait() {
    const std::int64_t ns = std::clamp<std::int64_t>(NextDue() - WallNs(), 0, IdleNs);
    const timespec timeout{0, static_cast<long>(ns)};
    std::array<pollfd, 3> fds{pollfd{pair.rtp.Descriptor(), POLLIN, 0},
                              pollfd{pair.rtcp.Descriptor(), POLLIN, 0}, pollfd{wake, POLLIN, 0}};
    ppoll(fds.data(), fds.size(), &timeout, nullptr);
    eventfd_t count = 0;
    if (fds[2].revents != 0) eventfd_read(wake, &count);
}

void RtpPeer::DrainRtp() {
    while (std::optional<UdpSocket::Arrival> arrival = pair.rtp.Receive(0))
        receiver.OnDatagram(arrival->data, arrival->atNs);
}

void RtpPeer::DrainRtcp() {
    while (std::optional<UdpSocket::Arrival> arrival = pair.rtcp.Receive(0))
        reporter.OnDatagram(arrival->data, sender.Ssrc(), arrival->atNs);
}

void RtpPeer::Tick() {
    const std::int64_t now = WallNs();
    while (due != 0 && due <= now) SendNext();
    if (reportDue != 0 && reportDue <= now) SendReport();
}

void RtpPeer::SendNext() {
    if (!talking && !events.IsBusy()) {
        due = 0;
        return;
    }
    due += setup.packetMs * NsPerMs;
    std::array<UBYTE, RtpSender::MaxPacket> room;
    if (events.IsBusy()) {
        const auto packet = events.Poll(os_clock(), sender.Timestamp());
        sender.Pause();
        if (!packet) return;
        const std::size_t length = sender.Event(*packet, room);
        pair.rtp.SendTo(std::span(room).first(length), leg);
        return;
    }
    const std::size_t length = sender.Next(room);
    if (outgoing) outgoing->OnSent(WallNs());
    pair.rtp.SendTo(std::span(room).first(length), leg);
}

void RtpPeer::SendReport() {
    reportDue += RtcpReporter::IntervalNs;
    std::array<UBYTE, RtpSender::MaxPacket> room;
    const std::size_t length = reporter.Write(sender, receiver, room);
    if (length > 0) pair.rtcp.SendTo(std::span(room).first(length), SockAddr(leg.Address(), leg.Port() + 1));
}

// Looking at what happened.

bool RtpPeer::WaitAudio(std::uint64_t packets, int ms) {
    return WaitFor(ms, [&](const RtpReceiver& what) { return what.Counts().audio >= packets; });
}

std::string RtpPeer::WaitDigits(std::size_t count, int ms) {
    WaitFor(ms, [&](const RtpReceiver& what) { return what.Digits().size() >= count; });
    std::string keys;
    for (const RtpReceiver::Digit& digit : Digits()) keys += digit.key;
    return keys;
}

bool RtpPeer::WaitBye(int ms) {
    return WaitFor(ms, [&](const RtpReceiver&) { return reporter.What().bye; });
}

ReceiveCounts RtpPeer::Counts() const {
    const std::lock_guard held(lock);
    return receiver.Counts();
}

RtcpReporter::Heard RtpPeer::Reports() const {
    const std::lock_guard held(lock);
    return reporter.What();
}

std::uint64_t RtpPeer::PacketsSent() const {
    const std::lock_guard held(lock);
    return sender.Packets();
}

std::vector<RtpReceiver::Digit> RtpPeer::Digits() const {
    const std::lock_guard held(lock);
    return receiver.Digits();
}

std::vector<std::int16_t> RtpPeer::Recording() const {
    const std::lock_guard held(lock);
    return receiver.Recording() != nullptr ? receiver.Recording()->Audio() : std::vector<std::int16_t>{};
}

std::vector<UBYTE> RtpPeer::Bytes() const {
    const std::lock_guard held(lock);
    return receiver.Recording() != nullptr ? receiver.Recording()->Bytes() : std::vector<UBYTE>{};
}

std::vector<std::int64_t> RtpPeer::ArrivalsNs() const {
    const std::lock_guard held(lock);
    return receiver.ArrivalsNs();
}

void RtpPeer::ClearRecording() {
    const std::lock_guard held(lock);
    if (receiver.Recording() != nullptr) receiver.Recording()->Clear();
}

void RtpPeer::ChangeSource(ULONG ssrc) {
    const std::lock_guard held(lock);
    sender.ChangeSource(ssrc);
}

void RtpPeer::SkipSequence(UWORD count) {
    const std::lock_guard held(lock);
    sender.SkipSequence(count);
}

}  // namespace lab
