#include "log/Logger.h"

#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>

#include "host/HostPaths.h"
#include "log/LogTables.h"
#include "log/SyslogLink.h"
#include "log/TenantContext.h"

namespace CfgAgent {

std::atomic<int> LogLevel::agent{LL_INFO};
std::atomic<int> LogLevel::console{1};
std::atomic<int> LogLevel::cradle{LL_INFO};

namespace {

constexpr int kSyslogFacility = LOG_LOCAL6;

struct LevelInfo {
    const char* word;
    int severity;
};

constexpr LevelInfo kLevels[] = {
    {"", 0},          {"fatal", LOG_ERR},  {"error", LOG_ERR},  {"warn", LOG_WARNING},
    {"info", LOG_INFO}, {"debug", LOG_DEBUG}, {"trace", LOG_DEBUG},
};

std::string TimeText() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm utc{};
    gmtime_r(&now.tv_sec, &utc);
    char buffer[64];
    size_t length = strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S.###%z", &utc);
    std::string text(buffer, length);
    auto marks = text.find("###");
    if (marks != std::string::npos) {
        char millis[8];
        std::snprintf(millis, sizeof millis, "%03ld", (now.tv_nsec / 1000000) % 1000);
        text.replace(marks, 3, millis, 3);
    }
    // The zone follows the three digits: "+0000" becomes "Z", others "+hh:mm".
    auto zone = text.find_first_of("+-", marks == std::string::npos ? 0 : marks);
    if (zone != std::string::npos && text.size() - zone == 5) {
        if (text.compare(zone, 5, "+0000") == 0) {
            text.replace(zone, 5, "Z");
        } else {
            text.insert(zone + 3, ":");
        }
    }
    return text;
}

std::string ThreadIdText() {
    char buffer[16];
    auto id = static_cast<unsigned long>(pthread_self());
    std::snprintf(buffer, sizeof buffer, "%X", static_cast<unsigned>(id & 0xFFFFFFFFu));
    return buffer;
}

void AppendQuoted(std::string& out, const char* key, const std::string& value) {
    out += ' ';
    out += key;
    out += "=\"";
    out += value;
    out += '"';
}

void ApplySyslogMethod() {
    const char* method = std::getenv("ZEF_SYSLOG_METHOD");
    // Unset, empty or "DEVLOG": the default path, nothing to check.
    if (method != nullptr && *method != '\0' && std::strcmp(method, "DEVLOG") != 0) {
        char* end = nullptr;
        errno = 0;
        long port = std::strtol(method, &end, 10);
        if (*end != '\0' || errno != 0 || port <= 0) {
            SyslogLink::Process().Send(LOG_ERR, std::string("Invalid UDP port provided in ZEF_SYSLOG_METHOD environment "
                                                  "variable: ") +
                                          method + ". Using default syslog UDP port");
        }
    }
    SyslogLink::Process().Send(LOG_INFO, "Use default syslog");
}

// The log data files and the syslog method are settled before main runs.
const bool processLogReady = (Logger::InitProcess(), true);

}  // namespace

void Logger::InitProcess() {
    LogTables::Instance().Load(HostPaths::Resolve(LogTables::kMessageIdsPath),
                               HostPaths::Resolve(LogTables::kStructuredDataPath));
    ApplySyslogMethod();
}

Logger::~Logger() {
    try {
        Emit();
    } catch (...) {
        // A line that cannot be built is a broken process, not a lost line.
        std::terminate();
    }
}

Logger& Logger::Tag(std::string tag) {
    if (!tag.empty()) {
        _tags.push_back(std::move(tag));
    }
    return *this;
}

Logger& Logger::MessageId(const std::string& id) {
    _messageId = LogTables::Instance().CheckMessageId(id);
    return *this;
}

Logger& Logger::EntityId(std::string id) {
    _entityId = std::move(id);
    return *this;
}

Logger& Logger::SubComponent(std::string name) {
    _subComponent = std::move(name);
    return *this;
}

std::string Logger::Format(const char* format, const std::string* args, size_t count) {
    std::string out;
    if (format == nullptr) {
        return out;
    }
    for (const char* p = format; *p != '\0'; ++p) {
        if (*p != '%') {
            out += *p;
        } else if (p[1] >= '1' && p[1] <= '9') {
            size_t index = static_cast<size_t>(p[1] - '1');
            if (index < count) {
                out += args[index];
            }
            ++p;
        } else if (p[1] == '%') {
            out += '%';
            ++p;
        } else {
            out += '%';
        }
    }
    return out;
}

void Logger::AppendTags(std::string& out, bool& invalid) const {
    const LogTables& tables = LogTables::Instance();
    for (const std::string& tag : _tags) {
        std::string key;
        std::string value;
        auto colon = tag.find(':');
        if (colon == std::string::npos) {
            value = tag;
        } else {
            key = tag.substr(0, colon);
            value = tag.substr(colon + 1);
        }
        if (key.empty() && value.empty()) {
            continue;
        }
        if (key.empty()) {
            key = "tag";
        }
        if (!tables.TagAllowed(key, value)) {
            invalid = true;
            continue;
        }
        AppendQuoted(out, key.c_str(), value);
    }
}

std::string Logger::StructuredPart(bool& invalid) const {
    std::string out = "[zef@4242";
    AppendQuoted(out, "comp", "zef-controller");
    AppendQuoted(out, "subcomp", "cfgAgent");
    if (!_subComponent.empty()) {
        AppendQuoted(out, "s2comp", _subComponent);
    }
    if (!_entityId.empty()) {
        AppendQuoted(out, "entId", _entityId);
    }
    AppendQuoted(out, "tid", ThreadIdText());
    AppendQuoted(out, "level", kLevels[_level].word);
    out += TenantContext::LogText();
    AppendTags(out, invalid);
    if (invalid || _messageId == "*") {
        out += " invalid=\"true\"";
    }
    out += ']';
    return out;
}

Logger::Lines Logger::Render() const {
    Lines lines;
    if (_level < LL_FATAL || _level > LL_TRACE) {
        return lines;
    }
    bool invalid = false;
    std::string structured = StructuredPart(invalid);
    const bool noId = _messageId.empty() || _messageId == "*";
    lines.syslog = "ZEF " + std::to_string(getpid()) + " " + (noId ? "-" : _messageId) + " " +
                   structured + " " + _text;
    lines.console = TimeText() + " " + structured + " " + _text + "\n";
    lines.severity = kLevels[_level].severity;
    return lines;
}

void Logger::Emit() const {
    if (_level < LL_FATAL || _level > LL_TRACE) {
        SyslogLink::Process().Send(LOG_ERR, "Invalid log level " + std::to_string(_level));
        return;
    }
    Lines lines = Render();
    SyslogLink::Process().Send(kSyslogFacility | lines.severity, lines.syslog);
    if (LogLevel::console.load(std::memory_order_relaxed) != 0) {
        std::fwrite(lines.console.data(), 1, lines.console.size(), stdout);
        std::fflush(stdout);
    }
}

}  // namespace CfgAgent
