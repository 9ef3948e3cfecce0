#include "zef/monitoring/EventSourceAPI.h"

#include <cjson/cJSON.h>

#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>

#include "host/HostPaths.h"

namespace zef::monitoring {

class EventSource {
public:
    EventSource(std::string name, std::string sourceId, std::string component)
        : name(std::move(name)), sourceId(std::move(sourceId)), component(std::move(component)) {}

    const std::string name;
    const std::string sourceId;
    const std::string component;
    EventSourceAPI::ConfigCallback callback;
    std::vector<uint16_t> eventTypes;
};

namespace {

std::mutex& Guard() {
    static std::mutex mutex;
    return mutex;
}

std::set<std::string>& Failing() {
    static std::set<std::string> calls;
    return calls;
}

bool Fails(const std::string& call) {
    std::lock_guard<std::mutex> lock(Guard());
    return Failing().contains(call);
}

// One line per call; the document is kept as the JSON it is.
void Write(const char* call, const EventSource& source, cJSON* fields) {
    cJSON_AddStringToObject(fields, "call", call);
    cJSON_AddStringToObject(fields, "source", source.sourceId.c_str());
    char* text = cJSON_PrintUnformatted(fields);
    cJSON_Delete(fields);
    const std::string path = EventSourceAPI::EventsFile();
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    {
        std::lock_guard<std::mutex> lock(Guard());
        std::ofstream(path, std::ios::app) << text << "\n";
    }
    cJSON_free(text);
}

}  // namespace

std::string EventSourceAPI::EventsFile() { return CfgAgent::HostPaths::Resolve(kEventsPath); }

void EventSourceAPI::FailCall(const std::string& call) {
    std::lock_guard<std::mutex> lock(Guard());
    if (call.empty()) {
        Failing().clear();
    } else {
        Failing().insert(call);
    }
}

std::shared_ptr<EventSource> EventSourceAPI::CreateEx(const std::string& name, const std::string& sourceId,
                                                      const std::string& component) {
    if (Fails("CreateEx")) {
        return nullptr;
    }
    return std::make_shared<EventSource>(name, sourceId, component);
}

bool EventSourceAPI::SetConfigCallback(EventSource& source, ConfigCallback callback,
                                       std::vector<uint16_t> eventTypes) {
    if (Fails("SetConfigCallback")) {
        return false;
    }
    source.callback = std::move(callback);
    source.eventTypes = std::move(eventTypes);
    return true;
}

bool EventSourceAPI::Start(EventSource& source) {
    if (Fails("Start")) {
        return false;
    }
    cJSON* fields = cJSON_CreateObject();
    cJSON_AddStringToObject(fields, "name", source.name.c_str());
    cJSON_AddStringToObject(fields, "component", source.component.c_str());
    Write("Start", source, fields);
    if (source.callback) {
        std::vector<SampleChange> changes;
        for (uint16_t type : source.eventTypes) {
            changes.push_back({type, true});
        }
        source.callback(changes);
    }
    return true;
}

bool EventSourceAPI::SetEventInstanceSample(EventSource& source, uint16_t eventType, const std::string& instance,
                                            bool active, const std::string& document) {
    if (Fails("SetEventInstanceSample")) {
        return false;
    }
    cJSON* fields = cJSON_CreateObject();
    cJSON_AddNumberToObject(fields, "event", eventType);
    cJSON_AddStringToObject(fields, "instance", instance.c_str());
    cJSON_AddBoolToObject(fields, "active", active);
    cJSON* sample = cJSON_Parse(document.c_str());
    cJSON_AddItemToObject(fields, "sample", sample != nullptr ? sample : cJSON_CreateString(document.c_str()));
    Write("SetEventInstanceSample", source, fields);
    return true;
}

void EventSourceAPI::Destroy(const std::shared_ptr<EventSource>& source) {
    if (source) {
        Write("Destroy", *source, cJSON_CreateObject());
    }
}

}  // namespace zef::monitoring
