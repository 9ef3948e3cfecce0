#include "l2/app/L2AlarmReporter.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "cache/IStateCacheConfigTable.h"
#include "frame/vocabulary/ObjectType.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "log/Logger.h"
#include "zef/monitoring/EventSourceAPI.h"

namespace CfgAgent {

namespace {

using zef::monitoring::EventSourceAPI;

constexpr const char* kName = "L2AlarmReporter";
constexpr uint32_t kNoAddress = 2;
constexpr uint32_t kBfdDown = 3;

// The keys in the order each report writes them.
std::string Document(const std::vector<std::pair<const char*, std::string>>& fields) {
    cJSON* root = cJSON_CreateObject();
    for (const auto& [key, value] : fields) {
        cJSON_AddStringToObject(root, key, value.c_str());
    }
    char* text = cJSON_PrintUnformatted(root);
    std::string document = text;
    cJSON_free(text);
    cJSON_Delete(root);
    return document;
}

const char* Family(bool ipv6) { return ipv6 ? "v6" : "v4"; }

}  // namespace

L2AlarmReporter::L2AlarmReporter(IStateCacheConfigTable& configTable) : _configTable(configTable) {}

L2AlarmReporter::~L2AlarmReporter() = default;

void L2AlarmReporter::Start() {
    std::shared_ptr<zef::monitoring::EventSource> source =
        EventSourceAPI::CreateEx("l2AlarmReporter", "cfgAgent_l2", "L2AlarmReporter");
    if (!source) {
        CFG_LOG(LL_ERROR, "L2App: %1: Failed to create alarm event source.", kName);
        return;
    }
    auto callback = [this](const std::vector<EventSourceAPI::SampleChange>& changes) {
        for (const EventSourceAPI::SampleChange& change : changes) {
            OnConfig(change.eventType, change.enabled);
        }
    };
    if (!EventSourceAPI::SetConfigCallback(*source, callback, {kFaultEvent, kHaActiveEvent, kAutoRecoveryEvent})) {
        CFG_LOG(LL_ERROR, "L2App: %1: Failed to L2 alarm callback.", kName);
        return;
    }
    if (!EventSourceAPI::Start(*source)) {
        CFG_LOG(LL_ERROR, "%1: Failed to start L2 alarm.", kName);
        return;
    }
    std::lock_guard<std::mutex> lock(_alarmMutex);
    _source = std::move(source);
    CFG_LOG(LL_INFO, "L2 AlarmReporter started successfully.");
}

void L2AlarmReporter::Stop() {
    std::shared_ptr<zef::monitoring::EventSource> source;
    {
        std::lock_guard<std::mutex> lock(_alarmMutex);
        source = std::move(_source);
    }
    EventSourceAPI::Destroy(source);
}

void L2AlarmReporter::OnConfig(uint16_t eventType, bool enabled) {
    if (eventType != kFaultEvent && eventType != kHaActiveEvent && eventType != kAutoRecoveryEvent) {
        return;
    }
    std::lock_guard<std::mutex> lock(_alarmMutex);
    if (enabled) {
        _enabledEvents.insert(eventType);
    } else {
        _enabledEvents.erase(eventType);
    }
}

void L2AlarmReporter::handleVxlanTEPAlarm(std::span<const uint8_t> message) {
    CFG_LOG(LL_INFO, "L2AlarmReporter: %1: received new Alarm message", kName);
    VxlanTepState state;
    const std::string reason = VxlanTepStateCodec::Read(message, state);
    if (!reason.empty()) {
        CFG_LOG(LL_ERROR, "%1: internal vxlan message(type:%2) need handler", kName, message.size() >= 2 ? message[1] : 0)
            .Tag("errorCode:LCP00407");
        return;
    }
    std::lock_guard<std::mutex> lock(_alarmMutex);
    if (!_source) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: No event source created for alarm");
        return;
    }
    if (_savePending) {
        CFG_LOG(LL_INFO, "L2AlarmReporter: %1: Save pending alarm", kName);
        _pending.push_back(state);
        return;
    }
    Handle(state);
}

void L2AlarmReporter::reportPendingAlarms() {
    std::lock_guard<std::mutex> lock(_alarmMutex);
    CFG_LOG(LL_INFO, "L2AlarmReporter: %1: reporting all pending alarms", kName);
    for (const VxlanTepState& state : std::exchange(_pending, {})) {
        Handle(state);
    }
    _savePending = false;
}

void L2AlarmReporter::Handle(const VxlanTepState& state) {
    switch (state.dataType) {
        case VXLAN_TEP_FAULT:
            handleTEPTaknicFaultAlarm(state);
            return;
        case VXLAN_TEP_HA_ACTIVE:
            handleTEPHATaknicHAAlarm(state);
            return;
        case VXLAN_TEP_HA_AUTO_RECOVERY:
            handleTEPHATaknicAutoRecoverAlarm(state);
            return;
        default:
            CFG_LOG(LL_ERROR, "%1: internal vxlan message(type:%2) need handler", kName, state.dataType)
                .Tag("errorCode:LCP00407");
            return;
    }
}

void L2AlarmReporter::LogHandler(const char* handler, const VxlanTepState& state) {
    CFG_LOG(LL_DEBUG, "%1::%2: switchName: %3, takname: %4, action: %5, takState: %6", kName, handler,
            state.switchName, state.taknicName, state.action, state.taknicState);
}

void L2AlarmReporter::handleTEPTaknicFaultAlarm(const VxlanTepState& state) {
    LogHandler("handleTEPTaknicFaultAlarm", state);
    reportTEPTaknicFaultAlarm(state);
}

void L2AlarmReporter::handleTEPHATaknicHAAlarm(const VxlanTepState& state) {
    LogHandler("handleTEPHATaknicHAAlarm", state);
    reportTEPHATaknicHAActiveAlarm(state);
}

void L2AlarmReporter::handleTEPHATaknicAutoRecoverAlarm(const VxlanTepState& state) {
    LogHandler("handleTEPHATaknicAutoRecoverAlarm", state);
    reportTEPHATaknicAutoRecoveryAlarm(state);
}

bool L2AlarmReporter::InstanceUuid(const std::string& hostUuid, const std::string& takName, bool ipv6,
                                   const std::string& dpuId, std::string& instance) {
    if (takName.empty()) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: takName: %1 not proper", takName);
        return false;
    }
    const size_t tak = takName.find("tak");
    if (tak == std::string::npos) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: takName: %1 not in expected fromat", takName);
        return false;
    }
    const std::string unique = takName.substr(tak + 3);
    if (unique.empty() || !std::all_of(unique.begin(), unique.end(), [](unsigned char c) { return std::isdigit(c); })) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: takUnique invalid. takUnique: %1", unique);
        return false;
    }
    // The digits, the family and the DPU's two characters stay within the
    // UUID's last group.
    const size_t lastGroup = hostUuid.rfind('-');
    if (lastGroup == std::string::npos || unique.size() + 3 > hostUuid.size() - lastGroup - 1) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: replace_pos invalid. takUnique: %1, uuidStr: %2", unique, hostUuid);
        return false;
    }
    if (!dpuId.empty() && dpuId.size() < 2) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: dpuId invalid, dpuId: %1", dpuId);
        return false;
    }
    const size_t replacePos = hostUuid.size() - unique.size();
    instance = hostUuid;
    instance.replace(replacePos, unique.size(), unique);
    instance[replacePos - 1] = ipv6 ? '6' : '4';
    instance.replace(replacePos - 3, 2, dpuId.empty() ? std::string("00") : dpuId.substr(dpuId.size() - 2));
    return true;
}

bool L2AlarmReporter::Identify(const VxlanTepState& state, std::string& instance, std::string& host) {
    if (!_source) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: No event source created for alarm");
        return false;
    }
    const std::vector<std::string> nodes = _configTable.GetIdsOfType(TRANSPORT_NODE_CONFIG);
    host = nodes.empty() ? std::string() : nodes.front();
    if (host.empty()) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: %1: failed to get host uuid", kName);
        return false;
    }
    return InstanceUuid(host, state.taknicName, state.ipv6, std::string(), instance);
}

void L2AlarmReporter::Send(uint16_t eventType, const VxlanTepState& state, const std::string& instance,
                           const std::string& document, const char* what, const std::string& host) {
    if (!_enabledEvents.contains(eventType)) {
        return;
    }
    if (EventSourceAPI::SetEventInstanceSample(*_source, eventType, instance, state.action == kRaise, document)) {
        CFG_LOG(LL_INFO, "L2AlarmReporter:%1: Succeeded to send %2 for host %3.", kName, what, host);
    } else {
        CFG_LOG(LL_ERROR, "L2AlarmReporter:%1: failed to send %2 for host %3.", kName, what, host);
    }
}

void L2AlarmReporter::reportTEPTaknicFaultAlarm(const VxlanTepState& state) {
    std::string instance;
    std::string host;
    if (!Identify(state, instance, host)) {
        return;
    }
    std::string reason;
    if (state.action == kRaise) {
        if (state.taknicState == kNoAddress) {
            reason = std::string("TEP does not have an ") + Family(state.ipv6) + " address";
        } else if (state.taknicState == kBfdDown) {
            reason = std::string("all IP") + Family(state.ipv6) + " BFD tunnels from TEP are down";
        } else {
            CFG_LOG(LL_ERROR, "L2AlarmReporter: %1: invalid vtep state: %2", kName, state.taknicState);
            return;
        }
    }
    const std::string document = Document({{"transport_node_id", host},
                                           {"vtep_name", state.taknicName},
                                           {"vtep_state", std::to_string(state.taknicState)},
                                           {"dvs_name", state.switchName},
                                           {"dpu_id", ""},
                                           {"vtep_fault_reason", reason}});
    Send(kFaultEvent, state, instance, document, "L2 TAKNIC FAULT status alarm", host);
}

void L2AlarmReporter::reportTEPHATaknicHAActiveAlarm(const VxlanTepState& state) {
    ReportTaknicState(state, kHaActiveEvent, "L2 TAKNIC STATE HA status alarm");
}

void L2AlarmReporter::reportTEPHATaknicAutoRecoveryAlarm(const VxlanTepState& state) {
    if (state.action != kRaise && state.action != kClear) {
        CFG_LOG(LL_ERROR, "L2AlarmReporter: %1: invalid action: %2", kName, state.action);
        return;
    }
    ReportTaknicState(state, kAutoRecoveryEvent, "L2 TAKNIC AUTO RECOVERY state alarm");
}

void L2AlarmReporter::ReportTaknicState(const VxlanTepState& state, uint16_t eventType, const char* what) {
    std::string instance;
    std::string host;
    if (!Identify(state, instance, host)) {
        return;
    }
    const std::string document = Document({{"transport_node_id", host},
                                           {"vtep_name", state.taknicName},
                                           {"vtep_state", std::to_string(state.taknicState)},
                                           {"dpu_id", ""},
                                           {"dvs_name", state.switchName}});
    Send(eventType, state, instance, document, what, host);
}

}  // namespace CfgAgent
