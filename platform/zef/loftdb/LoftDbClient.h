#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "loftdb_store.pb.h"

namespace zef::loftdb {

// The store's client library. One thread of its own carries the connection
// and runs every callback, so two callbacks never run at once. It connects
// by itself, reconnects after a loss, reports each change of channel status,
// and configures its monitors anew on every connection: the store then
// replays what they cover and ends the replay with a barrier.
class LoftDbClient {
public:
    using UpdateCallback = std::function<void(const halden::zef::loftdb::MonitorUpdateMsg&)>;
    using BarrierCallback = std::function<void()>;
    using ChannelCallback = std::function<void(bool up)>;
    using ModifyCallback = std::function<void(bool ok, const std::string& error)>;
    using ReadCallback =
        std::function<void(bool ok, const std::vector<halden::zef::loftdb::TypedObjectMsg>&)>;
    using EchoCallback = std::function<void(bool ok, const halden::zef::loftdb::EchoMsg&)>;

    LoftDbClient(std::string name, std::string endpoint);
    ~LoftDbClient();
    LoftDbClient(const LoftDbClient&) = delete;
    LoftDbClient& operator=(const LoftDbClient&) = delete;

    void RegisterMonitor(int32_t clientId, UpdateCallback onUpdate, BarrierCallback onBarrier,
                         uint32_t vdbId);
    void RegisterChannelStatus(ChannelCallback onStatus);
    // The vdb of reads that name none.
    void SetVdb(uint32_t vdbId);
    // Kept for every later connection; false when no monitor is registered
    // under that client id and vdb.
    bool ConfigureMonitor(const std::vector<halden::zef::loftdb::MonitorStatementMsg>& add,
                          const std::vector<halden::zef::loftdb::MonitorStatementMsg>& remove,
                          int32_t clientId, uint32_t vdbId);
    // One store transaction. Without a channel it waits, in order with the
    // other writes, for the next connection; `done` hears of it then, or
    // with a failure when the client stops first.
    void Modify(const std::vector<halden::zef::loftdb::ModifyRequestMsg>& requests,
                ModifyCallback done);
    void Read(const halden::zef::loftdb::ObjectRequestMsg& request, ReadCallback done,
              uint32_t vdbId);
    void Echo(const halden::zef::loftdb::EchoMsg& request, EchoCallback done);

    void StartAsync();
    void Stop();
    bool IsConnected() const { return _connected.load(); }
    // For tools: waits for the first channel-up.
    bool WaitConnected(std::chrono::milliseconds limit) const;

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
    std::atomic<bool> _connected{false};
};

}  // namespace zef::loftdb
