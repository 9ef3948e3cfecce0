#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace halden::zef::sha {
class AgentsMetricsMsg;
}

namespace zef::sha {

// The process monitor's client: collects each registered combined status
// message on its period and beats the process heartbeat. Periods are seconds.
class ShaPmClient {
public:
    using CombinedCallback =
        std::function<std::shared_ptr<halden::zef::sha::AgentsMetricsMsg>(void* context)>;

    explicit ShaPmClient(std::string name);
    ~ShaPmClient();
    ShaPmClient(const ShaPmClient&) = delete;
    ShaPmClient& operator=(const ShaPmClient&) = delete;

    void Start();
    void Stop();
    bool RegisterCombinedMessageMetricCollection(const std::string& name, CombinedCallback callback,
                                                 void* context, uint32_t periodSeconds);
    void UnregisterMetricCollectionAll();
    // The first collection is made at once, then one per period.
    void StartMetricCollection();
    void StopMetricCollection();
    void StartProcessHeartbeat(uint32_t intervalSeconds, uint32_t timeoutSeconds);
    void StopProcessHeartbeat();

    // The text form of the last message collected under `name`, empty if none.
    std::string LastCombinedMessage(const std::string& name) const;
    uint64_t HeartbeatCount() const;

private:
    using Clock = std::chrono::steady_clock;
    struct Collection {
        CombinedCallback callback;
        void* context = nullptr;
        std::chrono::seconds period;
        Clock::time_point due;
        std::string last;
    };

    void Loop();
    void CollectDue(std::unique_lock<std::mutex>& lock, Clock::time_point now);
    Clock::time_point NextWake() const;

    const std::string _name;
    mutable std::mutex _mutex;
    std::condition_variable _wake;
    std::thread _thread;
    bool _running = false;
    bool _collecting = false;
    std::map<std::string, Collection> _collections;
    bool _beating = false;
    std::chrono::seconds _beatInterval{0};
    Clock::time_point _beatDue;
    uint64_t _beats = 0;
};

}  // namespace zef::sha
