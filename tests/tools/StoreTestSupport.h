#pragma once

// Shared by the in-process store tests: a store service on its own thread,
// a recorder of monitor events, and builders of modify requests.

#include <gtest/gtest.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ObjectStore.h"
#include "StoreService.h"
#include "loftdb_store.pb.h"
#include "platform/loftdb/StoreObjects.h"
#include "zef/loftdb/LoftDbClient.h"

namespace zef::test {

using namespace std::chrono_literals;

constexpr uint32_t kSwitch = 1;      // LogSwitchConfigMsg
constexpr uint32_t kSwitchFib = 27;  // LogSwitchFibMsg
constexpr auto kWait = 10s;

template <typename T>
T Parsed(const std::string& bytes) {
    T message;
    EXPECT_TRUE(message.ParseFromString(bytes));
    return message;
}

inline halden::zef::loftdb::TypedObjectMsg Typed(uint32_t type,
                                                 const google::protobuf::Message& object) {
    halden::zef::loftdb::TypedObjectMsg typed;
    typed.set_object_type(type);
    typed.set_body(object.SerializeAsString());
    return typed;
}

inline halden::zef::loftdb::ModifyMsg PutOf(uint32_t type, const google::protobuf::Message& object,
                                            const std::vector<uint32_t>& vdbs = {}) {
    halden::zef::loftdb::ModifyMsg modify;
    *modify.mutable_put()->mutable_object() = Typed(type, object);
    for (uint32_t vdb : vdbs) {
        modify.mutable_put()->add_vdb_id(vdb);
    }
    return modify;
}

inline halden::zef::loftdb::ModifyMsg PatchOf(uint32_t type, const google::protobuf::Message& values,
                                              const google::protobuf::Message& op,
                                              const std::vector<uint32_t>& vdbs = {}) {
    halden::zef::loftdb::ModifyMsg modify;
    *modify.mutable_patch()->mutable_object() = Typed(type, values);
    modify.mutable_patch()->set_op_body(op.SerializeAsString());
    for (uint32_t vdb : vdbs) {
        modify.mutable_patch()->add_vdb_id(vdb);
    }
    return modify;
}

inline halden::zef::loftdb::ModifyMsg DeleteOf(uint32_t type, const google::protobuf::Message& object,
                                               const std::vector<uint32_t>& vdbs = {}) {
    halden::zef::loftdb::ModifyMsg modify;
    *modify.mutable_delete_()->mutable_object() = Typed(type, object);
    for (uint32_t vdb : vdbs) {
        modify.mutable_delete_()->add_vdb_id(vdb);
    }
    return modify;
}

inline halden::zef::loftdb::ModifyMsg FlushOf(uint32_t type, const std::vector<uint32_t>& vdbs = {}) {
    halden::zef::loftdb::ModifyMsg modify;
    modify.mutable_flush()->set_object_type(type);
    for (uint32_t vdb : vdbs) {
        modify.mutable_flush()->add_vdb_id(vdb);
    }
    return modify;
}

inline halden::zef::loftdb::ModifyRequestMsg RequestOf(
    const std::vector<halden::zef::loftdb::ModifyMsg>& modifies) {
    halden::zef::loftdb::ModifyRequestMsg request;
    for (const auto& modify : modifies) {
        *request.add_modify() = modify;
    }
    return request;
}

inline halden::zef::loftdb::MonitorStatementMsg Statement(uint32_t type, uint32_t mode = 1,
                                                          const std::string& select = "") {
    halden::zef::loftdb::MonitorStatementMsg statement;
    statement.mutable_object()->set_object_type(type);
    statement.set_mode(mode);
    if (!select.empty()) {
        statement.mutable_object()->set_select(select);
    }
    return statement;
}

inline std::string KeyOf(uint64_t id) { return Switch(id, 0, "").id().SerializeAsString(); }

// Monitor events and channel changes of one client id, in arrival order.
class Recorder {
public:
    zef::loftdb::LoftDbClient::UpdateCallback OnUpdate() {
        return [this](const halden::zef::loftdb::MonitorUpdateMsg& update) {
            std::lock_guard<std::mutex> guard(_mutex);
            _events.push_back(update);
            _changed.notify_all();
        };
    }
    zef::loftdb::LoftDbClient::BarrierCallback OnBarrier() {
        return [this] {
            std::lock_guard<std::mutex> guard(_mutex);
            _events.push_back(std::nullopt);
            ++_barriers;
            _changed.notify_all();
        };
    }
    zef::loftdb::LoftDbClient::ChannelCallback OnChannel() {
        return [this](bool up) {
            std::lock_guard<std::mutex> guard(_mutex);
            _channel.push_back(up);
            _changed.notify_all();
        };
    }

    // The updates up to the next barrier, which is consumed; nothing when no
    // barrier comes in time.
    std::optional<std::vector<halden::zef::loftdb::MonitorUpdateMsg>> Next(
        std::chrono::milliseconds limit = kWait) {
        std::unique_lock<std::mutex> lock(_mutex);
        if (!_changed.wait_for(lock, limit, [this] { return _barriers > _consumed; })) {
            return std::nullopt;
        }
        std::vector<halden::zef::loftdb::MonitorUpdateMsg> updates;
        while (_events[_cursor]) {
            updates.push_back(*_events[_cursor++]);
        }
        ++_cursor;
        ++_consumed;
        return updates;
    }

    // The channel changes once there are at least `count` of them.
    std::vector<bool> Channel(size_t count, std::chrono::milliseconds limit = kWait) {
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait_for(lock, limit, [&] { return _channel.size() >= count; });
        return _channel;
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<std::optional<halden::zef::loftdb::MonitorUpdateMsg>> _events;
    std::vector<bool> _channel;
    size_t _barriers = 0;
    size_t _consumed = 0;
    size_t _cursor = 0;
};

// A client with one monitor, configured before it connects.
struct Watcher {
    Watcher(const std::string& endpoint,
            const std::vector<halden::zef::loftdb::MonitorStatementMsg>& statements,
            uint32_t vdb = 0, int32_t clientId = 1)
        : client("test-watcher", endpoint) {
        client.RegisterChannelStatus(recorder.OnChannel());
        client.RegisterMonitor(clientId, recorder.OnUpdate(), recorder.OnBarrier(), vdb);
        client.ConfigureMonitor(statements, {}, clientId, vdb);
        client.StartAsync();
    }
    ~Watcher() { client.Stop(); }

    Recorder recorder;
    zef::loftdb::LoftDbClient client;
};

// The client calls with their answers; a shared promise, so that an answer
// after the wait gave up lands nowhere harmful.
inline std::pair<bool, std::string> ModifySync(
    zef::loftdb::LoftDbClient& client,
    const std::vector<halden::zef::loftdb::ModifyRequestMsg>& requests) {
    auto answer = std::make_shared<std::promise<std::pair<bool, std::string>>>();
    auto future = answer->get_future();
    client.Modify(requests, [answer](bool ok, const std::string& error) {
        answer->set_value({ok, error});
    });
    if (future.wait_for(kWait) != std::future_status::ready) {
        return {false, "no answer in time"};
    }
    return future.get();
}

inline std::pair<bool, std::vector<halden::zef::loftdb::TypedObjectMsg>> ReadSync(
    zef::loftdb::LoftDbClient& client, uint32_t type, uint32_t vdb,
    const std::vector<std::string>& keys = {}) {
    halden::zef::loftdb::ObjectRequestMsg request;
    request.set_object_type(type);
    for (const auto& key : keys) {
        request.add_id(key);
    }
    using Answer = std::pair<bool, std::vector<halden::zef::loftdb::TypedObjectMsg>>;
    auto answer = std::make_shared<std::promise<Answer>>();
    auto future = answer->get_future();
    client.Read(
        request,
        [answer](bool ok, const std::vector<halden::zef::loftdb::TypedObjectMsg>& objects) {
            answer->set_value({ok, objects});
        },
        vdb);
    if (future.wait_for(kWait) != std::future_status::ready) {
        return {false, {}};
    }
    return future.get();
}

// A store service with an in-memory store on a thread of its own.
class ServiceFixture : public ::testing::Test {
protected:
    void SetUp() override {
        StartService(0);
        writer = std::make_unique<zef::loftdb::LoftDbClient>("test-writer", Endpoint());
        writer->StartAsync();
        ASSERT_TRUE(writer->WaitConnected(kWait));
    }

    void TearDown() override {
        writer.reset();
        StopService();
    }

    void StartService(uint16_t wanted) {
        context = std::make_unique<boost::asio::io_context>();
        work.emplace(context->get_executor());
        service = std::make_unique<::loftdb::StoreService>(*context, store, nullptr);
        std::string error;
        port = service->Listen("tcp://127.0.0.1:" + std::to_string(wanted), error);
        ASSERT_NE(port, 0) << error;
        thread = std::thread([this] { context->run(); });
    }

    void StopService() {
        if (!thread.joinable()) {
            return;
        }
        boost::asio::post(*context, [this] { service->Stop(); });
        work.reset();
        thread.join();
        service.reset();
        context.reset();
    }

    // Runs `f` on the service thread, which owns the store.
    template <typename F>
    auto OnService(F f) -> decltype(f()) {
        auto task = std::make_shared<std::packaged_task<decltype(f())()>>(std::move(f));
        auto future = task->get_future();
        boost::asio::post(*context, [task] { (*task)(); });
        if (future.wait_for(kWait) != std::future_status::ready) {
            throw std::runtime_error("the service thread did not run the task");
        }
        return future.get();
    }

    std::string Endpoint() const { return "tcp://127.0.0.1:" + std::to_string(port); }

    std::pair<bool, std::string> Modify(
        const std::vector<halden::zef::loftdb::ModifyMsg>& modifies) {
        return ModifySync(*writer, {RequestOf(modifies)});
    }

    std::vector<halden::zef::loftdb::TypedObjectMsg> ReadAll(uint32_t type, uint32_t vdb = 0) {
        auto [ok, objects] = ReadSync(*writer, type, vdb);
        EXPECT_TRUE(ok);
        return objects;
    }

    std::vector<halden::zef::loftdb::LogSwitchConfigMsg> Switches(uint32_t vdb = 0) {
        std::vector<halden::zef::loftdb::LogSwitchConfigMsg> out;
        for (const auto& typed : ReadAll(kSwitch, vdb)) {
            out.push_back(Parsed<halden::zef::loftdb::LogSwitchConfigMsg>(typed.body()));
        }
        return out;
    }

    ::loftdb::ObjectStore store;
    std::unique_ptr<boost::asio::io_context> context;
    std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> work;
    std::unique_ptr<::loftdb::StoreService> service;
    std::thread thread;
    uint16_t port = 0;
    std::unique_ptr<zef::loftdb::LoftDbClient> writer;
};

}  // namespace zef::test
