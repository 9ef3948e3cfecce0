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

// "2026-01-02T03:04:05.678Z": the part up to the seconds is made once a
// second per thread, since the calendar conversion dominates a short line.
std::string TimeText() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    thread_local time_t second = -1;
    thread_local char head[32];
    thread_local size_t headLength = 0;
    if (now.tv_sec != second) {
        tm utc{};
        gmtime_r(&now.tv_sec, &utc);
        headLength = strftime(head, sizeof head, "%Y-%m-%dT%H:%M:%S.", &utc);
        second = now.tv_sec;
    }
    const long millis = (now.tv_nsec / 1000000) % 1000;
    std::string text(head, headLength);
    text += static_cast<char>('0' + millis / 100);
    text += static_cast<char>('0' + millis / 10 % 10);
    text += static_cast<char>('0' + millis % 10);
    text += 'Z';
    return text;
}

const std::string& ThreadIdText() {
    thread_local const std::string text = [] {
        char buffer[16];
        auto id = static_cast<unsigned long>(pthread_self());
        std::snprintf(buffer, sizeof buffer, "%X", static_cast<unsigned>(id & 0xFFFFFFFFu));
        return std::string(buffer);
    }();
    return text;
}

// The whole line in one write, so that lines of several threads never mix
// within a line.
void WriteConsole(const std::string& line) {
    size_t done = 0;
    while (done < line.size()) {
        const ssize_t written = ::write(STDOUT_FILENO, line.data() + done, line.size() - done);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return;
        }
        done += static_cast<size_t>(written);
    }
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
    const std::string pid = std::to_string(getpid());
    lines.syslog.reserve(8 + pid.size() + structured.size() + _text.size());
    lines.syslog += "ZEF ";
    lines.syslog += pid;
    lines.syslog += ' ';
    lines.syslog += noId ? std::string_view("-") : std::string_view(_messageId);
    lines.syslog += ' ';
    lines.syslog += structured;
    lines.syslog += ' ';
    lines.syslog += _text;
    lines.console = TimeText();
    lines.console.reserve(lines.console.size() + structured.size() + _text.size() + 3);
    lines.console += ' ';
    lines.console += structured;
    lines.console += ' ';
    lines.console += _text;
    lines.console += '\n';
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
        WriteConsole(lines.console);
    }
}

}  // namespace CfgAgent
