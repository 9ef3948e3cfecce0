#include "StoreService.h"

#include <google/protobuf/message.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "Journal.h"
#include "StoreSession.h"
#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/UpdateBuilder.h"
#include "zef/net/FramedSocket.h"
#include "zef/rpc/Endpoint.h"

namespace loftdb {

using halden::zef::loftdb::StoreFrameMsg;

namespace {

#define STORE_LOG(level) ZEF_LIB_LOG(zef::loftdb::library_log_level, level).s2comp("loftdb")

std::unique_ptr<google::protobuf::Message> Parse(uint32_t type,
                                                 const std::optional<std::string>& body) {
    if (!body) {
        return nullptr;
    }
    auto object = zef::loftdb::ObjectTypes::NewObject(type);
    if (object) {
        object->ParseFromString(*body);
    }
    return object;
}

// One batch that puts every live object, replayable into an empty store.
halden::zef::loftdb::ModifyBatchMsg Snapshot(const ObjectStore& store) {
    halden::zef::loftdb::ModifyBatchMsg snapshot;
    auto* request = snapshot.add_request();
    for (const auto& info : zef::loftdb::kObjectTypes) {
        for (uint32_t vdb : store.Vdbs()) {
            for (auto& [key, body] : store.All(vdb, info.code)) {
                auto* put = request->add_modify()->mutable_put();
                put->mutable_object()->set_object_type(info.code);
                put->mutable_object()->set_body(body);
                if (vdb != 0) {
                    put->add_vdb_id(vdb);
                }
            }
        }
    }
    return snapshot;
}

}  // namespace

StoreService::StoreService(boost::asio::io_context& context, ObjectStore& store, Journal* journal,
                           uint64_t journalLimit)
    : _context(context),
      _acceptor(context),
      _acceptRetry(context),
      _store(store),
      _journal(journal),
      _journalLimit(journalLimit),
      _compactAt(journalLimit) {}

uint16_t StoreService::Listen(const std::string& endpoint, std::string& error) {
    auto parsed = zef::rpc::Endpoint::Parse(endpoint);
    if (!parsed) {
        error = "bad endpoint " + endpoint;
        return 0;
    }
    boost::system::error_code code;
    auto address = boost::asio::ip::make_address(parsed->host, code);
    boost::asio::ip::tcp::endpoint local(address, parsed->port);
    if (!code) {
        _acceptor.open(local.protocol(), code);
    }
    if (!code) {
        _acceptor.set_option(boost::asio::ip::tcp::acceptor::reuse_address(true), code);
    }
    if (!code) {
        _acceptor.bind(local, code);
    }
    if (!code) {
        _acceptor.listen(boost::asio::socket_base::max_listen_connections, code);
    }
    if (code) {
        error = "cannot listen on " + endpoint + ": " + code.message();
        return 0;
    }
    Accept();
    return _acceptor.local_endpoint().port();
}

void StoreService::Stop() {
    boost::system::error_code ignored;
    _acceptor.close(ignored);
    _acceptRetry.cancel();
    for (auto& [raw, session] : _sessions) {
        session->Close("store stopping");
    }
    _sessions.clear();
}

void StoreService::Accept() {
    _acceptor.async_accept([this](const boost::system::error_code& error,
                                  boost::asio::ip::tcp::socket socket) {
        if (error == boost::asio::error::operation_aborted || !_acceptor.is_open()) {
            return;
        }
        if (error) {
            // Out of descriptors, say: wait a moment for some to be freed.
            STORE_LOG(zef::LIB_LOG_ERROR).put("accept failed: %s", error.message().c_str());
            _acceptRetry.expires_after(std::chrono::milliseconds(100));
            _acceptRetry.async_wait([this](const boost::system::error_code& cancelled) {
                if (!cancelled) {
                    Accept();
                }
            });
            return;
        }
        boost::system::error_code ignored;
        socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
        auto framed = std::make_shared<zef::net::FramedSocket>(std::move(socket), kMaxFrame);
        auto session = std::make_shared<StoreSession>(framed);
        _sessions.emplace(session.get(), session);
        std::weak_ptr<StoreSession> weak = session;
        framed->Start(
            [this, weak](std::string frame) {
                if (auto live = weak.lock()) {
                    OnFrame(live, frame);
                }
            },
            [this, raw = session.get()](const std::string& why) {
                STORE_LOG(zef::LIB_LOG_DEBUG).put("connection closed: %s", why.c_str());
                _sessions.erase(raw);
            });
        Accept();
    });
}

void StoreService::Reply(StoreSession& session, uint64_t requestId, bool ok,
                         const std::string& error) {
    StoreFrameMsg frame;
    frame.set_request_id(requestId);
    frame.mutable_reply()->set_ok(ok);
    if (!ok) {
        frame.mutable_reply()->set_error(error);
    }
    frame.mutable_reply()->set_transaction(_transactions);
    session.Send(frame);
}

void StoreService::OnFrame(const std::shared_ptr<StoreSession>& session, const std::string& bytes) {
    StoreFrameMsg frame;
    if (!frame.ParseFromString(bytes)) {
        STORE_LOG(zef::LIB_LOG_ERROR).put("frame from %s does not parse", session->name.c_str());
        Reply(*session, 0, false, "frame does not parse");
        return;
    }
    const uint64_t id = frame.request_id();
    if (frame.has_hello()) {
        session->name = frame.hello();
        Reply(*session, id, true, "");
    } else if (frame.has_configure_monitor()) {
        Configure(*session, frame.configure_monitor());
        Reply(*session, id, true, "");
    } else if (frame.has_modify()) {
        std::string error;
        const bool ok = Apply(frame.modify(), false, error);
        if (!ok) {
            STORE_LOG(zef::LIB_LOG_ERROR)
                .put("transaction from %s refused: %s", session->name.c_str(), error.c_str());
        }
        Reply(*session, id, ok, error);
    } else if (frame.has_read()) {
        Read(*session, id, frame.read());
    } else if (frame.has_echo()) {
        StoreFrameMsg reply;
        reply.set_request_id(id);
        reply.mutable_reply()->set_ok(true);
        *reply.mutable_reply()->mutable_echo() = frame.echo();
        session->Send(reply);
    } else {
        Reply(*session, id, false, "request names no operation");
    }
}

bool StoreService::Apply(const halden::zef::loftdb::ModifyBatchMsg& batch, bool replaying,
                         std::string& error) {
    std::vector<Change> changes;
    if (!Transaction::Build(batch, _store, changes, error)) {
        return false;
    }
    const bool journaled = !replaying && _journal != nullptr;
    if (journaled && !_journal->Append(batch.SerializeAsString(), error)) {
        return false;
    }
    Transaction::Commit(changes, _store);
    ++_transactions;
    Publish(changes);
    if (journaled) {
        CompactIfDue();
    }
    return true;
}

bool StoreService::Compact(std::string& error) {
    const bool ok = _journal->Rewrite(Snapshot(_store).SerializeAsString(), error);
    // The journal grows as much again before the next try, so that a store
    // larger than the limit, or a failing disk, is not rewritten every time.
    _compactAt = std::max(_journalLimit, 2 * _journal->Bytes());
    return ok;
}

void StoreService::CompactIfDue() {
    if (_journal->Bytes() <= _compactAt) {
        return;
    }
    const uint64_t before = _journal->Bytes();
    std::string error;
    if (!Compact(error)) {
        STORE_LOG(zef::LIB_LOG_ERROR).put("journal compaction failed: %s", error.c_str());
        return;
    }
    STORE_LOG(zef::LIB_LOG_INFO)
        .put("compacted the journal from %lu to %lu bytes", static_cast<unsigned long>(before),
             static_cast<unsigned long>(_journal->Bytes()));
}

void StoreService::Configure(StoreSession& session,
                             const halden::zef::loftdb::ConfigureMonitorMsg& configure) {
    Monitor monitor{configure.client_id(), configure.vdb_id(), {}};
    for (const auto& statement : configure.remove()) {
        monitor.statement = statement;
        session.RemoveMonitor(monitor);
    }
    if (configure.add().empty()) {
        return;
    }
    // A new monitor starts with every object it covers, then one barrier.
    for (const auto& statement : configure.add()) {
        monitor.statement = statement;
        session.AddMonitor(monitor);
        const uint32_t type = statement.object().object_type();
        for (auto& [key, body] : _store.All(monitor.vdb, type)) {
            auto object = Parse(type, body);
            session.SendUpdate(monitor.clientId, monitor.vdb,
                               zef::loftdb::BuildMonitorUpdate(type, nullptr, object.get(),
                                                               statement.object().select(),
                                                               statement.mode()));
        }
    }
    session.SendBarrier(monitor.clientId, monitor.vdb);
}

void StoreService::Read(StoreSession& session, uint64_t requestId,
                        const halden::zef::loftdb::ReadMsg& read) {
    StoreFrameMsg frame;
    frame.set_request_id(requestId);
    auto* reply = frame.mutable_reply();
    const uint32_t type = read.request().object_type();
    if (zef::loftdb::ObjectTypes::ByCode(type) == nullptr) {
        Reply(session, requestId, false, "unknown object type " + std::to_string(type));
        return;
    }
    auto add = [&](const std::string& body) {
        auto* object = reply->add_object();
        object->set_object_type(type);
        object->set_body(body);
    };
    if (read.request().id().empty()) {
        for (auto& [key, body] : _store.All(read.vdb_id(), type)) {
            add(body);
        }
    } else {
        for (const std::string& key : read.request().id()) {
            if (auto body = _store.Get({read.vdb_id(), type, key})) {
                add(*body);
            }
        }
    }
    reply->set_ok(true);
    session.Send(frame);
}

void StoreService::Publish(const std::vector<Change>& changes) {
    if (_sessions.empty()) {
        return;
    }
    std::set<std::tuple<StoreSession*, int32_t, uint32_t>> touched;
    for (const Change& change : changes) {
        auto before = Parse(change.ref.type, change.before);
        auto after = Parse(change.ref.type, change.after);
        for (auto& [raw, session] : _sessions) {
            for (const Monitor& monitor : session->Monitors()) {
                if (monitor.vdb != change.ref.vdb ||
                    monitor.statement.object().object_type() != change.ref.type) {
                    continue;
                }
                session->SendUpdate(monitor.clientId, monitor.vdb,
                                    zef::loftdb::BuildMonitorUpdate(
                                        change.ref.type, before.get(), after.get(),
                                        monitor.statement.object().select(),
                                        monitor.statement.mode()));
                touched.emplace(raw, monitor.clientId, monitor.vdb);
            }
        }
    }
    for (auto& [raw, clientId, vdb] : touched) {
        raw->SendBarrier(clientId, vdb);
    }
}

}  // namespace loftdb
