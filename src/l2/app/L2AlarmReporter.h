#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "l2/codec/VxlanTepState.h"

namespace zef::monitoring {
class EventSource;
}

namespace CfgAgent {

class IStateCacheConfigTable;

// Turns the kernel's TEP state messages into monitoring events with the
// transport node's identity. What arrives before the agent is in step with
// the kernel is kept and reported then.
class L2AlarmReporter {
public:
    // The event types of the three reports, as the monitoring service numbers them.
    static constexpr uint16_t kFaultEvent = 1;
    static constexpr uint16_t kHaActiveEvent = 9;
    static constexpr uint16_t kAutoRecoveryEvent = 13;
    static constexpr uint32_t kRaise = 1;
    static constexpr uint32_t kClear = 2;

    explicit L2AlarmReporter(IStateCacheConfigTable& configTable);
    ~L2AlarmReporter();
    L2AlarmReporter(const L2AlarmReporter&) = delete;
    L2AlarmReporter& operator=(const L2AlarmReporter&) = delete;

    void Start();
    void Stop();

    // A whole TEP state message from the kernel.
    void handleVxlanTEPAlarm(std::span<const uint8_t> message);
    // Reports what was kept, and from now on reports at once.
    void reportPendingAlarms();

    // The alarm's instance: the host UUID with the taknic's unique digits
    // over its end, the family before them and the DPU's last two
    // characters before that. False, logged, when the name or ids do not fit.
    static bool InstanceUuid(const std::string& hostUuid, const std::string& takName, bool ipv6,
                             const std::string& dpuId, std::string& instance);

private:
    void Handle(const VxlanTepState& state);
    static void LogHandler(const char* handler, const VxlanTepState& state);
    void handleTEPTaknicFaultAlarm(const VxlanTepState& state);
    void handleTEPHATaknicHAAlarm(const VxlanTepState& state);
    void handleTEPHATaknicAutoRecoverAlarm(const VxlanTepState& state);
    void reportTEPTaknicFaultAlarm(const VxlanTepState& state);
    void reportTEPHATaknicHAActiveAlarm(const VxlanTepState& state);
    void reportTEPHATaknicAutoRecoveryAlarm(const VxlanTepState& state);
    // The two reports of a taknic's state share their document's keys.
    void ReportTaknicState(const VxlanTepState& state, uint16_t eventType, const char* what);
    // The event's instance and the host UUID, or false when a report cannot be made.
    bool Identify(const VxlanTepState& state, std::string& instance, std::string& host);
    void Send(uint16_t eventType, const VxlanTepState& state, const std::string& instance,
              const std::string& document, const char* what, const std::string& host);
    void OnConfig(uint16_t eventType, bool enabled);

    IStateCacheConfigTable& _configTable;
    std::shared_ptr<zef::monitoring::EventSource> _source;
    std::set<uint16_t> _enabledEvents;
    std::mutex _alarmMutex;
    bool _savePending = true;
    std::vector<VxlanTepState> _pending;
};

}  // namespace CfgAgent
