#include "log/zef/Logger.h"

#include <cstdarg>
#include <cstdio>

#include "log/Logger.h"

namespace zef {

std::atomic<int> Logger::logLevel{LIB_LOG_INFO};

Logger::Logger(LibraryLogLevel level) : _level(level) {}

Logger::~Logger() {
    CfgAgent::Logger record(_level, "%1", _stream.str());
    if (_subComponent != nullptr) {
        record.SubComponent(_subComponent);
    }
    record.EntityId(_entityId);
    for (std::string& tag : _tags) {
        record.Tag(std::move(tag));
    }
}

Logger& Logger::put(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    int length = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length > 0) {
        std::string text(static_cast<size_t>(length) + 1, '\0');
        int written = std::vsnprintf(text.data(), text.size(), format, args);
        if (written == length) {
            text.resize(static_cast<size_t>(length));
            _stream << text;
        }
    }
    va_end(args);
    return *this;
}

Logger& Logger::tag(const char* tag) {
    if (tag != nullptr && *tag != '\0') {
        _tags.emplace_back(tag);
    }
    return *this;
}

Logger& Logger::entid(const char* id) {
    if (id != nullptr && *id != '\0') {
        _entityId = id;
    }
    return *this;
}

Logger& Logger::s2comp(const char* name) {
    _subComponent = name;
    return *this;
}

}  // namespace zef
