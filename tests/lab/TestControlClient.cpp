// The control client against a module that the test plays itself.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "tools/lab/ControlClient.h"

namespace lab {
namespace {

constexpr int BoundMs = 5000;
constexpr ULONG Loopback = 0x7F000001;

// Answers each request with what `answers` makes of it.
class PlayedModule {
 public:
    using Answers = std::function<std::vector<ControlDatagram>(const ControlDatagram&)>;

    PlayedModule(int requests, Answers answers) {
        std::string error;
        EXPECT_TRUE(socket.Open(SockAddr(Loopback, 0), error)) << error;
        thread = std::thread([this, requests, answers = std::move(answers)] {
            for (int i = 0; i < requests; ++i) {
                const auto arrival = socket.Receive(BoundMs);
                const auto request = arrival ? ControlDatagram::Decode(arrival->data) : std::nullopt;
                ASSERT_TRUE(request);
                for (const ControlDatagram& answer : answers(*request))
                    socket.SendTo(answer.Encode(), arrival->from);
            }
        });
    }
    ~PlayedModule() { thread.join(); }
    SockAddr Address() const { return socket.Local(); }

 private:
    UdpSocket socket;
    std::thread thread;
};

ControlDatagram Ack(UBYTE seq) {
    return {.seq = seq, .event = ControlEvent::Ack, .extra = {}};
}

ControlDatagram Digit(char key) {
    return {
        .event = ControlEvent::Digit, .chan = 1, .addr = 120, .port = static_cast<UBYTE>(key), .extra = {}};
}

TEST(ControlClient, TakesOnlyTheAcknowledgementOfItsOwnRequest) {
    PlayedModule module(2, [](const ControlDatagram& request) {
        return std::vector{Ack(static_cast<UBYTE>(request.seq + 1)), Ack(request.seq)};
    });
    ControlClient client;
    std::string error;
    ASSERT_TRUE(client.Open(module.Address(), error)) << error;
    const ControlClient::Reply reply = client.Send({.event = ControlEvent::Unmap, .chan = 3, .extra = {}});
    EXPECT_EQ(reply.outcome, ControlClient::Outcome::Acknowledged);
    EXPECT_EQ(reply.seq, 1);
    EXPECT_TRUE(client.Free(3));
}

TEST(ControlClient, KeepsDigitsThatComeBeforeTheAcknowledgement) {
    PlayedModule module(1, [](const ControlDatagram& request) {
        return std::vector{Digit('4'), Digit('2'), Ack(request.seq)};
    });
    ControlClient client;
    std::string error;
    ASSERT_TRUE(client.Open(module.Address(), error)) << error;
    EXPECT_TRUE(client.Unmap(1));
    for (const char key : {'4', '2'}) {
        const std::optional<ControlDatagram> digit = client.WaitDigit(BoundMs);
        ASSERT_TRUE(digit);
        EXPECT_EQ(digit->port, key);
    }
    EXPECT_FALSE(client.WaitDigit(0));
}

TEST(ControlClient, SaysWhenNobodyAnswersAndWhenNobodyListens) {
    std::string error;
    UdpSocket mute;
    ASSERT_TRUE(mute.Open(SockAddr(Loopback, 0), error)) << error;
    ControlClient client;
    client.SetTimeout(50);
    ASSERT_TRUE(client.Open(mute.Local(), error)) << error;
    const ControlClient::Reply unanswered = client.Send({.event = ControlEvent::FreeChan, .extra = {}});
    EXPECT_EQ(unanswered.outcome, ControlClient::Outcome::NoAnswer);
    EXPECT_EQ(unanswered.Words(), "no acknowledgement within 50 ms");

    const SockAddr nobody = mute.Local();
    mute.Close();
    client.SetTimeout(BoundMs);
    ASSERT_TRUE(client.Open(nobody, error)) << error;
    EXPECT_EQ(client.Send({.event = ControlEvent::FreeChan, .extra = {}}).outcome,
              ControlClient::Outcome::Refused);
}

}  // namespace
}  // namespace lab
