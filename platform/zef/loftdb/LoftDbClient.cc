#include "zef/loftdb/LoftDbClient.h"

#include <pthread.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <condition_variable>
#include <deque>

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/net/FramedSocket.h"
#include "zef/rpc/Endpoint.h"

namespace zef::loftdb {

using halden::zef::loftdb::MonitorStatementMsg;
using halden::zef::loftdb::ReplyMsg;
using halden::zef::loftdb::StoreFrameMsg;

namespace {

constexpr uint32_t kMaxFrame = 64u << 20;
constexpr std::chrono::milliseconds kFirstRetry{100};
constexpr std::chrono::milliseconds kLastRetry{2000};

using MonitorKey = std::pair<int32_t, uint32_t>;

struct MonitorEntry {
    LoftDbClient::UpdateCallback onUpdate;
    LoftDbClient::BarrierCallback onBarrier;
    std::vector<MonitorStatementMsg> statements;
};

bool SameStatement(const MonitorStatementMsg& a, const MonitorStatementMsg& b) {
    return a.SerializeAsString() == b.SerializeAsString();
}

}  // namespace

struct LoftDbClient::Impl {
    Impl(LoftDbClient& owner, std::string name, std::string endpoint)
        : owner(owner), name(std::move(name)), endpoint(std::move(endpoint)), retry(context) {}

    void Connect();
    void OnConnected(boost::asio::ip::tcp::socket socket);
    void OnClosed(const std::string& why);
    void OnFrame(const std::string& bytes);
    void OnMonitorEvent(const halden::zef::loftdb::MonitorEventMsg& event);
    // Sends a request; `done` gets the reply, or null if the channel goes first.
    void Request(StoreFrameMsg frame, std::function<void(const ReplyMsg*)> done);
    // A write goes out now, or waits in order for the next connection.
    void Write(StoreFrameMsg frame, std::function<void(const ReplyMsg*)> done);
    void SendHeld();
    void DropHeld();
    void SetChannel(bool up);

    LoftDbClient& owner;
    const std::string name;
    const std::string endpoint;
    boost::asio::io_context context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{
        context.get_executor()};
    boost::asio::steady_timer retry;
    std::chrono::milliseconds retryDelay = kFirstRetry;
    std::thread thread;
    bool stopping = false;

    // Touched on the client thread only.
    std::shared_ptr<boost::asio::ip::tcp::socket> connecting;
    std::shared_ptr<net::FramedSocket> socket;
    uint64_t nextRequest = 1;
    std::map<uint64_t, std::function<void(const ReplyMsg*)>> pending;
    std::deque<std::pair<StoreFrameMsg, std::function<void(const ReplyMsg*)>>> held;

    // Registrations, from any thread.
    mutable std::mutex mutex;
    mutable std::condition_variable channelChanged;
    std::map<MonitorKey, MonitorEntry> monitors;
    // Configuration changes made, and how many of them the store has seen:
    // a change that a connection's full resend already carried is not sent again.
    uint64_t configured = 0;
    uint64_t sentThrough = 0;
    ChannelCallback onChannel;
    uint32_t defaultVdb = 1;
};

void LoftDbClient::Impl::Connect() {
    if (stopping) {
        return;
    }
    auto parsed = rpc::Endpoint::Parse(endpoint);
    if (!parsed) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
            .s2comp("loftdb-client")
            .put("bad store endpoint %s", endpoint.c_str());
        return;
    }
    auto sock = std::make_shared<boost::asio::ip::tcp::socket>(context);
    connecting = sock;
    boost::system::error_code error;
    boost::asio::ip::tcp::endpoint target(boost::asio::ip::make_address(parsed->host, error),
                                          parsed->port);
    sock->async_connect(target, [this, sock](const boost::system::error_code& error) {
        connecting.reset();
        if (stopping) {
            return;
        }
        // Dialling a free loopback port can connect the socket to itself.
        boost::system::error_code ignored;
        if (!error && sock->local_endpoint(ignored) == sock->remote_endpoint(ignored)) {
            sock->close(ignored);
        }
        if (error || !sock->is_open()) {
            retry.expires_after(retryDelay);
            retryDelay = std::min(retryDelay * 2, kLastRetry);
            retry.async_wait([this](const boost::system::error_code& cancelled) {
                if (!cancelled) {
                    Connect();
                }
            });
            return;
        }
        OnConnected(std::move(*sock));
    });
}

void LoftDbClient::Impl::OnConnected(boost::asio::ip::tcp::socket raw) {
    boost::system::error_code ignored;
    raw.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    retryDelay = kFirstRetry;
    socket = std::make_shared<net::FramedSocket>(std::move(raw), kMaxFrame);
    socket->Start([this](std::string frame) { OnFrame(frame); },
                  [this](const std::string& why) { OnClosed(why); });
    StoreFrameMsg hello;
    hello.set_hello(name);
    Request(hello, nullptr);
    {
        std::lock_guard<std::mutex> guard(mutex);
        for (auto& [key, entry] : monitors) {
            if (entry.statements.empty()) {
                continue;
            }
            StoreFrameMsg configure;
            auto* body = configure.mutable_configure_monitor();
            body->set_client_id(key.first);
            body->set_vdb_id(key.second);
            for (const auto& statement : entry.statements) {
                *body->add_add() = statement;
            }
            configure.set_request_id(nextRequest++);
            socket->Send(configure.SerializeAsString());
        }
        sentThrough = configured;
    }
    // Behind the monitors: the store sees the replay asked for first.
    SendHeld();
    SetChannel(true);
}

void LoftDbClient::Impl::SetChannel(bool up) {
    ChannelCallback callback;
    {
        std::lock_guard<std::mutex> guard(mutex);
        owner._connected = up;
        callback = onChannel;
    }
    channelChanged.notify_all();
    if (callback) {
        callback(up);
    }
}

void LoftDbClient::Impl::OnClosed(const std::string& why) {
    socket.reset();
    auto failed = std::move(pending);
    pending.clear();
    for (auto& [id, done] : failed) {
        if (done) {
            done(nullptr);
        }
    }
    if (stopping) {
        return;
    }
    ZEF_LIB_LOG(library_log_level, LIB_LOG_WARN)
        .s2comp("loftdb-client")
        .put("store channel down: %s", why.c_str());
    SetChannel(false);
    Connect();
}

void LoftDbClient::Impl::OnFrame(const std::string& bytes) {
    StoreFrameMsg frame;
    if (!frame.ParseFromString(bytes)) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
            .s2comp("loftdb-client")
            .put("store frame does not parse");
        return;
    }
    if (frame.has_monitor_event()) {
        OnMonitorEvent(frame.monitor_event());
        return;
    }
    auto it = pending.find(frame.request_id());
    if (it == pending.end()) {
        return;
    }
    auto done = std::move(it->second);
    pending.erase(it);
    if (done) {
        done(&frame.reply());
    }
}

void LoftDbClient::Impl::OnMonitorEvent(const halden::zef::loftdb::MonitorEventMsg& event) {
    UpdateCallback onUpdate;
    BarrierCallback onBarrier;
    {
        std::lock_guard<std::mutex> guard(mutex);
        auto it = monitors.find({event.client_id(), event.vdb_id()});
        if (it == monitors.end()) {
            return;
        }
        onUpdate = it->second.onUpdate;
        onBarrier = it->second.onBarrier;
    }
    if (event.barrier()) {
        if (onBarrier) {
            onBarrier();
        }
    } else if (onUpdate) {
        onUpdate(event.update());
    }
}

void LoftDbClient::Impl::Request(StoreFrameMsg frame, std::function<void(const ReplyMsg*)> done) {
    if (!socket) {
        if (done) {
            done(nullptr);
        }
        return;
    }
    frame.set_request_id(nextRequest++);
    pending.emplace(frame.request_id(), std::move(done));
    socket->Send(frame.SerializeAsString());
}

void LoftDbClient::Impl::Write(StoreFrameMsg frame, std::function<void(const ReplyMsg*)> done) {
    if (socket) {
        Request(std::move(frame), std::move(done));
    } else {
        held.emplace_back(std::move(frame), std::move(done));
    }
}

void LoftDbClient::Impl::SendHeld() {
    if (!held.empty()) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_INFO)
            .s2comp("loftdb-client")
            .put("sending %zu writes held while the store was away", held.size());
    }
    while (!held.empty() && socket) {
        auto [frame, done] = std::move(held.front());
        held.pop_front();
        Request(std::move(frame), std::move(done));
    }
}

void LoftDbClient::Impl::DropHeld() {
    auto dropped = std::move(held);
    held.clear();
    for (auto& [frame, done] : dropped) {
        if (done) {
            done(nullptr);
        }
    }
}

LoftDbClient::LoftDbClient(std::string name, std::string endpoint)
    : _impl(std::make_unique<Impl>(*this, std::move(name), std::move(endpoint))) {}

LoftDbClient::~LoftDbClient() { Stop(); }

void LoftDbClient::RegisterMonitor(int32_t clientId, UpdateCallback onUpdate,
                                   BarrierCallback onBarrier, uint32_t vdbId) {
    std::lock_guard<std::mutex> guard(_impl->mutex);
    MonitorEntry& entry = _impl->monitors[{clientId, vdbId}];
    entry.onUpdate = std::move(onUpdate);
    entry.onBarrier = std::move(onBarrier);
}

void LoftDbClient::RegisterChannelStatus(ChannelCallback onStatus) {
    std::lock_guard<std::mutex> guard(_impl->mutex);
    _impl->onChannel = std::move(onStatus);
}

void LoftDbClient::SetVdb(uint32_t vdbId) {
    std::lock_guard<std::mutex> guard(_impl->mutex);
    _impl->defaultVdb = vdbId;
}

bool LoftDbClient::ConfigureMonitor(const std::vector<MonitorStatementMsg>& add,
                                    const std::vector<MonitorStatementMsg>& remove,
                                    int32_t clientId, uint32_t vdbId) {
    StoreFrameMsg frame;
    uint64_t change = 0;
    {
        std::lock_guard<std::mutex> guard(_impl->mutex);
        auto it = _impl->monitors.find({clientId, vdbId});
        if (it == _impl->monitors.end()) {
            return false;
        }
        auto& statements = it->second.statements;
        for (const auto& statement : remove) {
            std::erase_if(statements, [&](const auto& s) { return SameStatement(s, statement); });
        }
        for (const auto& statement : add) {
            std::erase_if(statements, [&](const auto& s) { return SameStatement(s, statement); });
            statements.push_back(statement);
        }
        change = ++_impl->configured;
    }
    auto* body = frame.mutable_configure_monitor();
    body->set_client_id(clientId);
    body->set_vdb_id(vdbId);
    for (const auto& statement : add) {
        *body->add_add() = statement;
    }
    for (const auto& statement : remove) {
        *body->add_remove() = statement;
    }
    // Sent now if the channel is up; a later connection sends the whole set.
    boost::asio::post(_impl->context, [impl = _impl.get(), frame, change]() mutable {
        {
            std::lock_guard<std::mutex> guard(impl->mutex);
            if (!impl->socket || change <= impl->sentThrough) {
                return;
            }
            impl->sentThrough = change;
        }
        impl->Request(std::move(frame), nullptr);
    });
    return true;
}

void LoftDbClient::Modify(const std::vector<halden::zef::loftdb::ModifyRequestMsg>& requests,
                          ModifyCallback done) {
    StoreFrameMsg frame;
    for (const auto& request : requests) {
        *frame.mutable_modify()->add_request() = request;
    }
    boost::asio::post(_impl->context, [impl = _impl.get(), frame, done = std::move(done)]() mutable {
        impl->Write(std::move(frame), [done = std::move(done)](const ReplyMsg* reply) {
            if (done) {
                done(reply != nullptr && reply->ok(),
                     reply == nullptr ? "store channel is down" : reply->error());
            }
        });
    });
}

void LoftDbClient::Read(const halden::zef::loftdb::ObjectRequestMsg& request, ReadCallback done,
                        uint32_t vdbId) {
    StoreFrameMsg frame;
    *frame.mutable_read()->mutable_request() = request;
    frame.mutable_read()->set_vdb_id(vdbId);
    boost::asio::post(_impl->context, [impl = _impl.get(), frame, done = std::move(done)]() mutable {
        impl->Request(std::move(frame), [done = std::move(done)](const ReplyMsg* reply) {
            std::vector<halden::zef::loftdb::TypedObjectMsg> objects;
            if (reply != nullptr) {
                objects.assign(reply->object().begin(), reply->object().end());
            }
            if (done) {
                done(reply != nullptr && reply->ok(), objects);
            }
        });
    });
}

void LoftDbClient::Echo(const halden::zef::loftdb::EchoMsg& request, EchoCallback done) {
    StoreFrameMsg frame;
    *frame.mutable_echo() = request;
    boost::asio::post(_impl->context, [impl = _impl.get(), frame, done = std::move(done)]() mutable {
        impl->Request(std::move(frame), [done = std::move(done)](const ReplyMsg* reply) {
            if (done) {
                done(reply != nullptr && reply->ok(),
                     reply != nullptr ? reply->echo() : halden::zef::loftdb::EchoMsg());
            }
        });
    });
}

void LoftDbClient::StartAsync() {
    if (_impl->thread.joinable()) {
        return;
    }
    boost::asio::post(_impl->context, [impl = _impl.get()] { impl->Connect(); });
    _impl->thread = std::thread([impl = _impl.get()] {
        pthread_setname_np(pthread_self(), "zef-loftdb");
        impl->context.run();
    });
}

void LoftDbClient::Stop() {
    if (!_impl->thread.joinable()) {
        return;
    }
    boost::asio::post(_impl->context, [impl = _impl.get()] {
        impl->stopping = true;
        impl->retry.cancel();
        if (impl->connecting) {
            boost::system::error_code ignored;
            impl->connecting->close(ignored);
        }
        if (impl->socket) {
            impl->socket->Close("client stopping");
        }
        impl->DropHeld();
        impl->work.reset();
    });
    _impl->thread.join();
}

bool LoftDbClient::WaitConnected(std::chrono::milliseconds limit) const {
    std::unique_lock<std::mutex> lock(_impl->mutex);
    return _impl->channelChanged.wait_for(lock, limit, [this] { return _connected.load(); });
}

}  // namespace zef::loftdb
