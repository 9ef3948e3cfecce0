#include "log/LogArg.h"

#include <cstdio>

namespace CfgAgent {

std::string LogArg(std::string_view text) { return std::string(text); }

std::string LogArg(const char* text) { return text != nullptr ? std::string(text) : std::string(); }

std::string LogArg(const void* pointer) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%p", pointer);
    return buffer;
}

std::string LogArg(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%g", value);
    return buffer;
}

std::string LogArg(long long value) { return std::to_string(value); }

std::string LogArg(unsigned long long value) { return std::to_string(value); }

}  // namespace CfgAgent
