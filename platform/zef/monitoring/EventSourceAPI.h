#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zef::monitoring {

// One source of monitoring events, made by CreateEx.
class EventSource;

// The host's monitoring service as a process sees it. This stand-in writes
// every call as one JSON line to "/var/run/halden/zef-monitoring/events.jsonl"
// under the host root, so that a person or a test can read what was raised,
// and it enables every event type it is asked about when a source starts.
class EventSourceAPI {
public:
    static constexpr const char* kEventsPath = "/var/run/halden/zef-monitoring/events.jsonl";

    struct SampleChange {
        uint16_t eventType = 0;
        bool enabled = false;
    };
    using ConfigCallback = std::function<void(const std::vector<SampleChange>& changes)>;

    // Null when the service refuses the source.
    static std::shared_ptr<EventSource> CreateEx(const std::string& name, const std::string& sourceId,
                                                 const std::string& component);
    static bool SetConfigCallback(EventSource& source, ConfigCallback callback,
                                  std::vector<uint16_t> eventTypes);
    static bool Start(EventSource& source);
    static bool SetEventInstanceSample(EventSource& source, uint16_t eventType, const std::string& instance,
                                       bool active, const std::string& document);
    static void Destroy(const std::shared_ptr<EventSource>& source);

    // For tests: the named call ("CreateEx", "SetConfigCallback", "Start",
    // "SetEventInstanceSample") fails from now on; empty heals them all.
    static void FailCall(const std::string& call);
    // The file the calls are written to.
    static std::string EventsFile();
};

}  // namespace zef::monitoring
