// The store service against hostile input: malformed frames on a raw TCP
// stream, random frames, and random transactions straight into Transaction.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <random>

#include "StoreTestSupport.h"
#include "Transaction.h"
#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"
#include "zef/loftdb/UpdateBuilder.h"
#include "zef/net/FrameReader.h"

namespace {

using namespace zef::test;
using namespace halden::zef::loftdb;

// A plain blocking TCP connection to the service, frames read by hand.
class RawSocket {
public:
    explicit RawSocket(uint16_t port) {
        _fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        _connected = connect(_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~RawSocket() { close(_fd); }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    bool Connected() const { return _connected; }

    bool Send(const std::string& bytes) {
        size_t done = 0;
        while (done < bytes.size()) {
            ssize_t n = send(_fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                return false;
            }
            done += static_cast<size_t>(n);
        }
        return true;
    }

    bool SendFrame(const std::string& body) { return Send(zef::net::FrameReader::Encode(body)); }

    // The next frame, or nothing when the stream ends or nothing comes in time.
    std::optional<StoreFrameMsg> ReadFrame() {
        const auto deadline = std::chrono::steady_clock::now() + kWait;
        std::string body;
        while (_reader.Next(body) != zef::net::FrameReader::Status::Frame) {
            if (!Fill(deadline)) {
                return std::nullopt;
            }
        }
        StoreFrameMsg frame;
        EXPECT_TRUE(frame.ParseFromString(body));
        return frame;
    }

    // The reply to `requestId`, skipping monitor events and other replies.
    std::optional<StoreFrameMsg> ReplyTo(uint64_t requestId) {
        while (auto frame = ReadFrame()) {
            if (frame->has_reply() && frame->request_id() == requestId) {
                return frame;
            }
        }
        return std::nullopt;
    }

    // True when the peer ends the stream in time; what it sent is dropped.
    bool WaitClosed() {
        const auto deadline = std::chrono::steady_clock::now() + kWait;
        while (Fill(deadline)) {
        }
        return _ended;
    }

private:
    bool Fill(std::chrono::steady_clock::time_point deadline) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd wait{_fd, POLLIN, 0};
        if (left.count() <= 0 || poll(&wait, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        char chunk[16384];
        ssize_t n = recv(_fd, chunk, sizeof chunk, 0);
        if (n <= 0) {
            _ended = true;
            return false;
        }
        _reader.Append(chunk, static_cast<size_t>(n));
        return true;
    }

    int _fd = -1;
    bool _connected = false;
    bool _ended = false;
    zef::net::FrameReader _reader{1u << 30};
};

std::string EchoFrame(uint64_t requestId, uint64_t sequence) {
    StoreFrameMsg frame;
    frame.set_request_id(requestId);
    frame.mutable_echo()->set_sequence(sequence);
    return frame.SerializeAsString();
}

// Quiets the refusal log lines that thousands of bad frames would print.
class QuietStore {
public:
    QuietStore() : _saved(zef::loftdb::library_log_level.exchange(zef::LIB_LOG_OFF)) {}
    ~QuietStore() { zef::loftdb::library_log_level = _saved; }

private:
    int _saved;
};

using StoreWireTest = ServiceFixture;

TEST_F(StoreWireTest, MalformedFrameGetsAnErrorReplyAndTheConnectionGoesOn) {
    RawSocket raw(port);
    ASSERT_TRUE(raw.Connected());

    ASSERT_TRUE(raw.SendFrame(std::string("\x0a\x05" "ab", 4)));
    auto reply = raw.ReadFrame();
    ASSERT_TRUE(reply);
    EXPECT_FALSE(reply->reply().ok());
    EXPECT_EQ(reply->reply().error(), "frame does not parse");

    for (const std::string& body : {std::string(), StoreFrameMsg().SerializeAsString()}) {
        ASSERT_TRUE(raw.SendFrame(body));
        reply = raw.ReadFrame();
        ASSERT_TRUE(reply);
        EXPECT_FALSE(reply->reply().ok());
        EXPECT_EQ(reply->reply().error(), "request names no operation");
    }

    ASSERT_TRUE(raw.SendFrame(EchoFrame(41, 4141)));
    reply = raw.ReplyTo(41);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->reply().ok());
    EXPECT_EQ(reply->reply().echo().sequence(), 4141u);
}

TEST_F(StoreWireTest, OversizedFrameDropsThatConnectionOnly) {
    RawSocket bystander(port);
    ASSERT_TRUE(bystander.Connected());
    for (uint32_t length : {::loftdb::StoreService::kMaxFrame + 1, 0xffffffffu}) {
        RawSocket raw(port);
        ASSERT_TRUE(raw.Connected());
        std::string header(4, '\0');
        for (int i = 0; i < 4; ++i) {
            header[i] = static_cast<char>(length >> (24 - 8 * i));
        }
        ASSERT_TRUE(raw.Send(header + "partial body"));
        EXPECT_TRUE(raw.WaitClosed()) << length;
    }
    ASSERT_TRUE(bystander.SendFrame(EchoFrame(5, 55)));
    auto reply = bystander.ReplyTo(5);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->reply().echo().sequence(), 55u);
    EXPECT_TRUE(Modify({PutOf(kSwitch, Switch(1, 1, ""))}).first);
}

// Frames the service would accept, to be garbled by the fuzz loop.
std::vector<std::string> SeedFrames() {
    std::vector<std::string> seeds;
    StoreFrameMsg frame;
    frame.set_request_id(1);
    LogSwitchFibMsg fib = Fib(2);
    AddVtep(fib, 1, 10);
    AddVtep(fib, 2, 20);
    *frame.mutable_modify()->add_request() =
        RequestOf({PutOf(kSwitchFib, fib, {0, 3}), PutOf(kSwitch, Switch(1, 5, "x"))});
    seeds.push_back(frame.SerializeAsString());

    frame.Clear();
    LogSwitchFibOpMsg op;
    op.add_vteps()->set_self(UPDATE);
    op.add_vteps()->set_self(REMOVE);
    *frame.mutable_modify()->add_request() = RequestOf({PatchOf(kSwitchFib, fib, op), FlushOf(kSwitch)});
    seeds.push_back(frame.SerializeAsString());

    frame.Clear();
    auto* configure = frame.mutable_configure_monitor();
    configure->set_client_id(3);
    *configure->add_add() = Statement(
        kSwitchFib, 1, zef::loftdb::OpReflection::SelectAllLists(LogSwitchFibMsg::descriptor()));
    *configure->add_add() = Statement(kSwitch);
    seeds.push_back(frame.SerializeAsString());

    frame.Clear();
    frame.mutable_read()->mutable_request()->set_object_type(kSwitchFib);
    frame.mutable_read()->mutable_request()->add_id(fib.id().SerializeAsString());
    seeds.push_back(frame.SerializeAsString());
    return seeds;
}

TEST_F(StoreWireTest, RandomFramesNeverStopTheService) {
    QuietStore quiet;
    std::mt19937 random(20261122);
    const auto seeds = SeedFrames();
    RawSocket raw(port);
    ASSERT_TRUE(raw.Connected());
    for (int i = 0; i < 2000; ++i) {
        std::string body;
        if (i % 2 == 0) {
            body.resize(random() % 96);
            for (char& c : body) {
                c = static_cast<char>(random());
            }
        } else {
            body = seeds[random() % seeds.size()];
            for (int flips = 1 + random() % 4; flips > 0 && !body.empty(); --flips) {
                body[random() % body.size()] = static_cast<char>(random());
            }
            if (random() % 4 == 0) {
                body.resize(random() % (body.size() + 1));
            }
        }
        ASSERT_TRUE(raw.SendFrame(body)) << "frame " << i;
    }
    // Everything before the echo was handled once its reply comes.
    ASSERT_TRUE(raw.SendFrame(EchoFrame(987654321, 1)));
    EXPECT_TRUE(raw.ReplyTo(987654321)) << "the connection still serves";
    EXPECT_TRUE(Modify({PutOf(kSwitch, Switch(9, 9, ""))}).first) << "the service still serves";
}

// Random batches over a random store: Build must refuse or succeed without
// harm, a commit keeps the store's counts true, and every change yields an
// update for plain and entry monitors alike.
class RandomBatches {
public:
    explicit RandomBatches(uint32_t seed) : _random(seed) {}

    ModifyBatchMsg Batch() {
        ModifyBatchMsg batch;
        for (int r = 1 + Below(2); r > 0; --r) {
            auto* request = batch.add_request();
            for (int m = 1 + Below(3); m > 0; --m) {
                *request->add_modify() = Modify();
            }
        }
        return batch;
    }

private:
    int Below(int n) { return static_cast<int>(_random() % static_cast<uint32_t>(n)); }

    std::string Bytes(int most) {
        std::string bytes(static_cast<size_t>(Below(most + 1)), '\0');
        for (char& c : bytes) {
            c = static_cast<char>(_random());
        }
        return bytes;
    }

    PbOpType OpType() { return static_cast<PbOpType>(Below(13)); }

    uint32_t Type() {
        const uint32_t types[] = {kSwitch, kSwitchFib, kSwitchFib, kSwitch, kSwitchFib, kSwitch,
                                  kSwitchFib, kSwitch, kSwitchFib, 9999};
        return types[Below(10)];
    }

    std::vector<uint32_t> Vdbs() {
        std::vector<uint32_t> vdbs;
        for (int n = Below(3); n > 0; --n) {
            vdbs.push_back(static_cast<uint32_t>(Below(3)));
        }
        return vdbs;
    }

    std::string Object(uint32_t type) {
        if (Below(16) == 0) {
            return Bytes(24);
        }
        if (type == kSwitch) {
            LogSwitchConfigMsg object = Switch(1 + Below(4), static_cast<uint32_t>(Below(3)), "");
            if (Below(16) == 0) {
                object.clear_id();
            }
            if (Below(2) == 0) {
                object.set_switch_name(Below(2) ? "a" : "b");
            }
            return object.SerializeAsString();
        }
        LogSwitchFibMsg fib = Fib(1 + Below(3));
        for (int n = Below(5); n > 0; --n) {
            AddVtep(fib, static_cast<uint32_t>(1 + Below(4)), static_cast<uint32_t>(Below(3)));
        }
        for (int n = Below(3); n > 0; --n) {
            auto* mac = fib.add_macs();
            mac->set_mac(static_cast<uint64_t>(Below(3)));
            if (Below(2) == 0) {
                mac->mutable_vtep()->mutable_vtep_label()->set_label(1);
            }
        }
        if (Below(16) == 0) {
            fib.clear_id();
        }
        return fib.SerializeAsString();
    }

    std::string Op(uint32_t type) {
        if (Below(16) == 0) {
            return Bytes(16);
        }
        if (type == kSwitch) {
            LogSwitchConfigOpMsg op;
            if (Below(4) == 0) op.set_self(OpType());
            if (Below(2) == 0) op.set_vni(OpType());
            if (Below(2) == 0) op.set_switch_name(OpType());
            if (Below(6) == 0) op.mutable_id()->set_self(OpType());
            return op.SerializeAsString();
        }
        LogSwitchFibOpMsg op;
        if (Below(6) == 0) op.set_self(OpType());
        for (int n = Below(5); n > 0; --n) {
            op.add_vteps()->set_self(OpType());
        }
        for (int n = Below(3); n > 0; --n) {
            op.add_macs()->set_self(OpType());
        }
        return op.SerializeAsString();
    }

    ModifyMsg Modify() {
        ModifyMsg modify;
        const uint32_t type = Type();
        TypedObjectMsg object;
        object.set_object_type(type);
        object.set_body(Object(type));
        const auto vdbs = Vdbs();
        switch (Below(17)) {
            case 0:
                break;  // names no operation
            case 1:
                modify.mutable_flush()->set_object_type(type);
                modify.mutable_flush()->mutable_vdb_id()->Add(vdbs.begin(), vdbs.end());
                break;
            case 2:
            case 3:
                *modify.mutable_delete_()->mutable_object() = object;
                modify.mutable_delete_()->mutable_vdb_id()->Add(vdbs.begin(), vdbs.end());
                break;
            case 4:
            case 5:
            case 6:
            case 7:
            case 8:
            case 9:
                *modify.mutable_patch()->mutable_object() = object;
                modify.mutable_patch()->set_op_body(Op(type));
                modify.mutable_patch()->mutable_vdb_id()->Add(vdbs.begin(), vdbs.end());
                break;
            default:
                *modify.mutable_put()->mutable_object() = object;
                modify.mutable_put()->mutable_vdb_id()->Add(vdbs.begin(), vdbs.end());
                break;
        }
        return modify;
    }

    std::mt19937 _random;
};

TEST(StoreTransactionFuzzTest, RandomBatchesKeepTheStoreConsistent) {
    RandomBatches batches(7);
    ::loftdb::ObjectStore store;
    const std::string select = zef::loftdb::OpReflection::SelectAllLists(LogSwitchFibMsg::descriptor());
    int applied = 0;
    for (int i = 0; i < 2000; ++i) {
        const ModifyBatchMsg batch = batches.Batch();
        std::vector<::loftdb::Change> changes;
        std::string error;
        if (!::loftdb::Transaction::Build(batch, store, changes, error)) {
            EXPECT_FALSE(error.empty()) << "a refusal gives its reason";
            continue;
        }
        ++applied;
        for (const auto& change : changes) {
            EXPECT_EQ(store.Get(change.ref), change.before) << "batch " << i;
            EXPECT_NE(change.before, change.after) << "only net changes are listed";
        }
        ::loftdb::Transaction::Commit(changes, store);
        for (const auto& change : changes) {
            EXPECT_EQ(store.Get(change.ref), change.after);
            auto before = zef::loftdb::ObjectTypes::NewObject(change.ref.type);
            auto after = zef::loftdb::ObjectTypes::NewObject(change.ref.type);
            ASSERT_TRUE(before && after);
            if (change.before) {
                ASSERT_TRUE(before->ParseFromString(*change.before));
            }
            if (change.after) {
                ASSERT_TRUE(after->ParseFromString(*change.after));
            }
            for (uint32_t mode : {0u, 1u}) {
                for (const std::string& statementSelect : {std::string(), select}) {
                    auto update = zef::loftdb::BuildMonitorUpdate(
                        change.ref.type, change.before ? before.get() : nullptr,
                        change.after ? after.get() : nullptr, statementSelect, mode);
                    EXPECT_EQ(update.object_type(), change.ref.type);
                    EXPECT_TRUE(update.has_op_body());
                }
            }
        }
        size_t size = 0;
        size_t bytes = 0;
        for (uint32_t vdb : store.Vdbs()) {
            for (uint32_t type : {kSwitch, kSwitchFib}) {
                for (const auto& [key, body] : store.All(vdb, type)) {
                    ++size;
                    bytes += key.size() + body.size();
                }
            }
        }
        ASSERT_EQ(store.Size(), size) << "batch " << i;
        ASSERT_EQ(store.Bytes(), bytes) << "batch " << i;
    }
    EXPECT_GT(applied, 300) << "the generator should let a fair share through";
    EXPECT_GT(store.Size(), 0u);
}

}  // namespace
