// Sockets in a trigger loop: delivery, peers and strangers, errors that must not wedge, multicast, churn with
// failures.
#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/ip.h>

#include <algorithm>
#include <cerrno>
#include <numeric>

#include "platform/kernel/OperatingSystem.h"
#include "platform/kernel/ReceiveBatch.h"
#include "tests/support/LoopTest.h"

namespace {

constexpr ULONG Loopback = INADDR_LOOPBACK;

class Receiver : public OSIO {
 public:
    OSIORetCode DatagramIndication(OSBuf* buf, void* from, void* /*to*/) override {
        texts.emplace_back(reinterpret_cast<char*>(buf->data), buf->len);
        source = *static_cast<SockAddr*>(from);
        buf->Free();
        if (freeOnReceipt != nullptr) std::exchange(freeOnReceipt, nullptr)->Free();
        return Success;
    }
    void LowerReleased(OSIO* /*lower*/) override { ++released; }

    std::vector<std::string> texts;
    SockAddr source;
    AsyncSocket* freeOnReceipt = nullptr;
    int released = 0;
};

class TestAsyncSocket : public LoopTest {
 protected:
    AsyncSocket* Open(OSIO* upper, bool media = false) {
        auto* socket = new AsyncSocket(false);
        EXPECT_EQ(socket->Create(AsyncSocket::Datagram, 0, Loopback, media), 0);
        socket->Bind(upper);
        return socket;
    }
    static void Send(AsyncSocket& socket, const std::string& text, const SockAddr* to) {
        OSBuf* buf = OSBuf::Alloc(static_cast<int>(text.size()));
        buf->PushData(text.data(), static_cast<int>(text.size()));
        SockAddr destination = to != nullptr ? *to : SockAddr();
        socket.DatagramIndication(buf, nullptr, to != nullptr ? &destination : nullptr);
    }
    static SockAddr Address(const AsyncSocket& socket) {
        return {Loopback, static_cast<UWORD>(socket.LocalPort())};
    }
    static int OpenDescriptors() {
        int count = 0;
        DIR* directory = opendir("/proc/self/fd");
        while (readdir(directory) != nullptr) ++count;
        closedir(directory);
        return count;
    }
};

TEST_F(TestAsyncSocket, DeliversEachDatagramWithItsSource) {
    Receiver receiver;
    AsyncSocket* a = Open(&receiver);
    AsyncSocket* b = Open(nullptr);
    const SockAddr to = Address(*a);
    std::vector<std::string> sent;
    for (int i = 0; i < 3 * kernel::ReceiveBatch::Datagrams; ++i) {
        sent.emplace_back(static_cast<std::size_t>(i), 'x');
        Send(*b, sent.back(), &to);
    }
    ASSERT_TRUE(RunUntil([&] { return receiver.texts.size() == sent.size(); }));
    EXPECT_EQ(receiver.texts, sent);
    EXPECT_EQ(receiver.source, Address(*b));
    a->Free();
    b->Free();
    EXPECT_EQ(receiver.released, 1);
}

TEST_F(TestAsyncSocket, AFloodedSocketDoesNotStarveAnother) {
    Receiver flooded;
    Receiver other;
    AsyncSocket* a = Open(&flooded);
    AsyncSocket* b = Open(&other);
    const SockAddr toA = Address(*a);
    const SockAddr toB = Address(*b);
    for (int i = 0; i < 100; ++i) Send(*b, "flood", &toA);
    Send(*a, "hello", &toB);
    WaitForSingleObject(OSTrigger::TLSGetEvent(), 1000);
    OSTrigger::TLSPoll();
    EXPECT_EQ(other.texts.size(), 1U);
    int largestTurn = static_cast<int>(flooded.texts.size());
    int turns = 1;
    for (std::size_t before = flooded.texts.size(); before < 100; before = flooded.texts.size(), ++turns) {
        ASSERT_EQ(WaitForSingleObject(OSTrigger::TLSGetEvent(), 1000), WAIT_OBJECT_0);
        OSTrigger::TLSPoll();
        largestTurn = std::max(largestTurn, static_cast<int>(flooded.texts.size() - before));
    }
    EXPECT_EQ(largestTurn, kernel::ReceiveBatch::Datagrams);
    EXPECT_LE(turns, 10);  // 1, 2, 4, 8, and 16 from then on
    a->Free();
    b->Free();
}

// Notes for how many datagrams it was asked.
class NotedReads : public kernel::OperatingSystem {
 public:
    NotedReads() { kernel::ReplaceSystem(this); }
    ~NotedReads() override { kernel::ReplaceSystem(nullptr); }
    int ReceiveDatagrams(int fd, std::span<mmsghdr> messages) override {
        rooms.push_back(messages.size());
        return OperatingSystem::ReceiveDatagrams(fd, messages);
    }
    std::vector<std::size_t> rooms;
};

TEST_F(TestAsyncSocket, SocketsAreAskedForMoreOnlyWhereMoreIsWaiting) {
    Receiver receiver;
    AsyncSocket* sender = Open(nullptr);
    std::vector<AsyncSocket*> sockets;
    for (int i = 0; i < 300; ++i) sockets.push_back(Open(&receiver));
    const auto sendTo = [&](int first, int last) {
        for (int i = first; i < last; ++i) {
            const SockAddr to = Address(*sockets[static_cast<std::size_t>(i)]);
            Send(*sender, "x", &to);
        }
    };
    const auto turn = [] {
        WaitForSingleObject(OSTrigger::TLSGetEvent(), 1000);
        OSTrigger::TLSPoll();
    };
    NotedReads reads;
    for (const int i : {5, 0, 1, 0, 1, 0, 1}) {  // behind the loop's first turn two quiet calls
        sendTo(i, i + 1);
        turn();
    }
    EXPECT_EQ(reads.rooms, std::vector<std::size_t>(7, 1));
    ASSERT_EQ(receiver.texts.size(), 7U);

    for (int packet = 0; packet < 3; ++packet) sendTo(0, 300);  // behind by three packets everywhere
    turn();
    turn();
    EXPECT_EQ(receiver.texts.size(), 7U + 900U);
    for (AsyncSocket* socket : sockets) socket->Free();
    sender->Free();
}

TEST_F(TestAsyncSocket, MediaIsServedInTurnsAtOddMilliseconds) {
    Receiver receiver;
    AsyncSocket* a = Open(&receiver);
    const SockAddr to = Address(*a);
    std::uint64_t turn = 0;
    for (int packet = 0; packet < 20; ++packet) {
        Send(*a, "packet", &to);
        WaitForSingleObject(OSTrigger::TLSGetEvent(), 1000);
        const std::uint64_t now = os_clock_us() / 1000;
        EXPECT_GE(now, turn);
        turn = (now + 1) / 2 * 2 + 1;
        OSTrigger::TLSPoll();
    }
    EXPECT_EQ(receiver.texts.size(), 20U);
    a->Free();
}

TEST_F(TestAsyncSocket, OnlyTheConnectedPeerIsHeardAndStrangersAreNamedOnceASecond) {
    Receiver receiver;
    AsyncSocket* a = Open(&receiver);
    AsyncSocket* peer = Open(nullptr);
    AsyncSocket* stranger = Open(nullptr);
    a->Connect(Address(*peer));
    const SockAddr to = Address(*a);
    for (int i = 0; i < 20; ++i) Send(*stranger, "spoof", &to);
    Send(*peer, "mine", &to);
    ASSERT_TRUE(RunUntil([&] { return !receiver.texts.empty() && a->RefusedCount() == 20; }));
    EXPECT_EQ(receiver.texts, std::vector<std::string>{"mine"});
    EXPECT_EQ(console.Count("datagram of a stranger"), 1);

    Receiver atPeer;
    peer->Bind(&atPeer);
    Send(*a, "back", nullptr);
    ASSERT_TRUE(RunUntil([&] { return !atPeer.texts.empty(); }));
    a->Free();
    peer->Free();
    stranger->Free();
}

TEST_F(TestAsyncSocket, APeerMayChangeOrCloseWithoutHarm) {
    Receiver receiver;
    AsyncSocket* a = Open(&receiver);
    AsyncSocket* first = Open(nullptr);
    Receiver atSecond;
    AsyncSocket* second = Open(&atSecond);
    const SockAddr to = Address(*a);
    Send(*first, "before", &to);  // waits in the socket when it gets its peer
    a->Connect(Address(*first));
    a->Connect(Address(*second));
    Send(*first, "former", &to);
    Send(*second, "mine", &to);
    ASSERT_TRUE(RunUntil([&] { return !receiver.texts.empty() && a->RefusedCount() == 2; }));
    EXPECT_EQ(receiver.texts, std::vector<std::string>{"mine"});

    const SockAddr gone = Address(*first);
    first->Free();
    for (int i = 0; i < 3; ++i) {
        Send(*a, "nobody hears this", &gone);
        Send(*a, "back", nullptr);
    }
    ASSERT_TRUE(RunUntil([&] { return atSecond.texts.size() == 3; }));
    a->Connect(gone);  // answers by ICMP from now on
    for (int i = 0; i < 20; ++i) {
        Send(*a, "nobody hears this", nullptr);
        RunFor(1);
    }
    a->Connect(SockAddr());
    Send(*second, "anybody", &to);
    ASSERT_TRUE(RunUntil([&] { return receiver.texts.size() == 2; }));
    EXPECT_EQ(a->SendErrors(), 0U);
    a->Free();
    second->Free();
}

TEST_F(TestAsyncSocket, AConnectedSocketKeepsItsPortToItself) {
    AsyncSocket* a = Open(nullptr);
    AsyncSocket* peer = Open(nullptr);
    const int descriptors = OpenDescriptors();
    a->Connect(Address(*peer));
    EXPECT_EQ(OpenDescriptors(), descriptors + 1) << "for strangers";
    Socket rival;
    EXPECT_EQ(rival.Open(Address(*a), true), EADDRINUSE);
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    const sockaddr_in name = Address(*a).Native();
    EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr*>(&name), sizeof name), -1);
    close(fd);
    a->Free();
    EXPECT_EQ(OpenDescriptors(), descriptors - 1);
    peer->Free();
}

TEST_F(TestAsyncSocket, OversizedDatagramsAreDroppedAndNamed) {
    Receiver receiver;
    AsyncSocket* a = Open(&receiver);
    AsyncSocket* b = Open(nullptr);
    const SockAddr to = Address(*a);
    Send(*b, std::string(kernel::ReceiveBatch::LargestBytes + 1, 'x'), &to);
    Send(*b, std::string(kernel::ReceiveBatch::LargestBytes, 'y'), &to);
    ASSERT_TRUE(RunUntil([&] { return !receiver.texts.empty(); }));
    EXPECT_EQ(receiver.texts.front().size(), static_cast<std::size_t>(kernel::ReceiveBatch::LargestBytes));
    EXPECT_EQ(console.Count("oversized datagram"), 1);
    a->Free();
    b->Free();
}

// Sends as if ICMP had answered, or as if the send queue were full.
class FailingSends : public kernel::OperatingSystem {
 public:
    explicit FailingSends(std::vector<int> failures) : errors(std::move(failures)) {
        kernel::ReplaceSystem(this);
    }
    ~FailingSends() override { kernel::ReplaceSystem(nullptr); }
    ssize_t SendDatagram(int fd, std::span<const UBYTE> data, const sockaddr_in* to) override {
        if (next < errors.size() && errors[next++] != 0) {
            errno = errors[next - 1];
            return -1;
        }
        return OperatingSystem::SendDatagram(fd, data, to);
    }

 private:
    std::vector<int> errors;
    std::size_t next = 0;
};

TEST_F(TestAsyncSocket, SendErrorsNeverCloseOrWedgeASocket) {
    Receiver receiver;
    AsyncSocket* a = Open(&receiver);
    AsyncSocket* b = Open(nullptr);
    const SockAddr to = Address(*a);
    {
        const FailingSends failing({ECONNREFUSED, 0, ECONNREFUSED, ECONNREFUSED, EAGAIN, ENOBUFS, EPERM});
        for (const char* text : {"first", "lost", "lost", "lost", "lost", "last"}) Send(*b, text, &to);
    }
    Send(*b, "nowhere", nullptr);
    ASSERT_TRUE(RunUntil([&] { return receiver.texts.size() == 2; }));
    EXPECT_EQ(receiver.texts, (std::vector<std::string>{"first", "last"}));
    EXPECT_EQ(b->SendErrors(), 5U);
    EXPECT_EQ(console.Count("send to"), 1);
    a->Free();
    b->Free();
}

TEST_F(TestAsyncSocket, ASocketMayBeFreedInItsOwnCallbackOrInThatOfAnotherThatIsReady) {
    Receiver first;
    Receiver second;
    AsyncSocket* a = Open(&first);
    AsyncSocket* b = Open(&second);
    AsyncSocket* sender = Open(nullptr);
    const SockAddr toA = Address(*a);
    const SockAddr toB = Address(*b);
    for (int i = 0; i < 5; ++i) {
        Send(*sender, "x", &toA);
        Send(*sender, "x", &toB);
    }
    first.freeOnReceipt = b;  // whichever is read first frees the other or, at its next datagram, itself
    second.freeOnReceipt = a;
    WaitForSingleObject(OSTrigger::TLSGetEvent(), 1000);
    OSTrigger::TLSPoll();
    EXPECT_EQ(first.released + second.released, 1);
    AsyncSocket* left = first.released == 1 ? b : a;
    Receiver& leftReceiver = first.released == 1 ? second : first;
    leftReceiver.freeOnReceipt = left;
    leftReceiver.texts.clear();
    const SockAddr to = Address(*left);
    Send(*sender, "x", &to);
    ASSERT_TRUE(RunUntil([&] { return leftReceiver.released == 1; }));
    EXPECT_EQ(leftReceiver.texts.size(), 1U);
    sender->Free();
}

TEST_F(TestAsyncSocket, MulticastReachesEverySocketOfTheGroupAndNoOther) {
    AsyncSocket::SetPrimaryAddress(Loopback + 1);  // 127.0.0.2: the loopback interface carries it
    const SockAddr group("239.1.2.3", 0);
    Receiver receivers[3];
    auto* first = new AsyncSocket(false);
    ASSERT_EQ(first->CreateMulticast(group, AsyncSocket::McReceiveOnly, 0), 0);
    first->Bind(&receivers[0]);
    const SockAddr groupPort(group.Address(), static_cast<UWORD>(first->LocalPort()));
    auto* second = new AsyncSocket(false);
    ASSERT_EQ(second->CreateMulticast(groupPort, AsyncSocket::McReceiveOnly, 0), 0);
    second->Bind(&receivers[1]);
    auto* other = new AsyncSocket(false);
    ASSERT_EQ(other->CreateMulticast(SockAddr("239.1.2.4", groupPort.Port()), AsyncSocket::McReceiveOnly, 0),
              0);
    other->Bind(&receivers[2]);

    AsyncSocket* sender = Open(nullptr);
    ASSERT_EQ(sender->SetMulticastInterface(0), 0);
    Send(*sender, "music", &groupPort);
    ASSERT_TRUE(RunUntil([&] { return receivers[0].texts.size() == 1 && receivers[1].texts.size() == 1; }));
    RunFor(10);
    EXPECT_TRUE(receivers[2].texts.empty());

    auto* unusable = new AsyncSocket(false);
    EXPECT_EQ(unusable->CreateMulticast(SockAddr("10.0.0.1", 5000), AsyncSocket::McReceiveOnly, 0), EINVAL);
    unusable->Free();
    for (AsyncSocket* socket : {first, second, other, sender}) socket->Free();
    AsyncSocket::SetPrimaryAddress(0);
}

// Fails every third call that takes a descriptor further.
class FailingOpens : public kernel::OperatingSystem {
 public:
    FailingOpens() { kernel::ReplaceSystem(this); }
    ~FailingOpens() override { kernel::ReplaceSystem(nullptr); }
    int OpenSocket(int domain, int type) override {
        return Fails() ? -1 : OperatingSystem::OpenSocket(domain, type);
    }
    int BindSocket(int fd, const sockaddr_in& to) override {
        return Fails() ? -1 : OperatingSystem::BindSocket(fd, to);
    }

 private:
    bool Fails() {
        errno = EADDRINUSE;
        return ++calls % 3 == 0;
    }
    int calls = 0;
};

TEST_F(TestAsyncSocket, ChurnWithFailuresLeavesNoDescriptorAndNoEntry) {
    Open(nullptr)->Free();
    const int descriptors = OpenDescriptors();
    const int entries = AsyncSocket::sockets.load()->Size();
    {
        const FailingOpens failing;
        int failed = 0;
        for (int i = 0; i < 10000; ++i) {
            auto* socket = new AsyncSocket(true);
            failed += socket->Create(AsyncSocket::Datagram, 0, Loopback, true) == EADDRINUSE ? 1 : 0;
            socket->Free();
        }
        EXPECT_GT(failed, 3000);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(AsyncSocket::sockets.load()->Size(), entries);
    EXPECT_EQ(Socket::socket_list.Size(), entries);
}

TEST_F(TestAsyncSocket, PortsInUseAndPortsThatDoNotFitAreErrors) {
    AsyncSocket* a = Open(nullptr);
    auto* b = new AsyncSocket(false);
    EXPECT_EQ(b->Create(AsyncSocket::Datagram, a->LocalPort(), Loopback, true), EADDRINUSE);
    EXPECT_EQ(b->Create(AsyncSocket::Datagram, 65536, Loopback, true), EINVAL);
    EXPECT_EQ(b->Create(AsyncSocket::Datagram, -2, Loopback, true), EINVAL);
    EXPECT_EQ(b->Create(AsyncSocket::Datagram, 0, 0x08080808, true), EADDRNOTAVAIL);
    EXPECT_EQ(b->Create(AsyncSocket::Datagram, 0, Loopback, true), 0) << "it stays usable";
    b->Free();
    a->Free();
}

}  // namespace
