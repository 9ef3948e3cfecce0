#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

namespace CfgAgent {

// Turns one log argument into its text, the way a stream would print it:
// bools as 0 and 1, pointers in hex.
std::string LogArg(std::string_view text);
std::string LogArg(const char* text);
std::string LogArg(const void* pointer);
std::string LogArg(double value);
std::string LogArg(long long value);
std::string LogArg(unsigned long long value);

inline std::string LogArg(const std::string& text) { return text; }
inline std::string LogArg(std::string&& text) { return std::move(text); }
inline std::string LogArg(char* text) { return LogArg(static_cast<const char*>(text)); }

inline std::string LogArg(char c) { return std::string(1, c); }

template <typename T>
    requires(std::integral<T> && !std::same_as<T, char>)
std::string LogArg(T value) {
    if constexpr (std::is_signed_v<T>) {
        return LogArg(static_cast<long long>(value));
    } else {
        return LogArg(static_cast<unsigned long long>(value));
    }
}

template <typename T>
    requires std::is_enum_v<T>
std::string LogArg(T value) {
    return LogArg(static_cast<std::underlying_type_t<T>>(value));
}

template <typename T>
    requires std::floating_point<T>
std::string LogArg(T value) {
    return LogArg(static_cast<double>(value));
}

template <typename T>
    requires(!std::same_as<std::remove_cv_t<T>, char>)
std::string LogArg(T* pointer) {
    return LogArg(static_cast<const void*>(pointer));
}

}  // namespace CfgAgent
