#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace halden::zef::loftdb {
class UuidMsg;
}

namespace CfgAgent {

// A 128-bit id as the agent keeps it: two halves, compared as numbers. The
// tables key objects by the serialized UuidMsg, the kernel and the logs
// by the text; this value goes between them without a detour.
class Uuid {
public:
    constexpr Uuid() = default;
    constexpr Uuid(uint64_t left, uint64_t right) : _left(left), _right(right) {}

    // Hyphenated or not, braced or not, either case; nothing when the text
    // is not a UUID.
    static std::optional<Uuid> FromText(std::string_view text);
    // A serialized UuidMsg; nothing when the bytes do not parse.
    static std::optional<Uuid> FromSerialized(std::string_view bytes);
    static Uuid FromMsg(const halden::zef::loftdb::UuidMsg& message);

    // Lower-case hyphenated, left half's bytes first.
    std::string Text() const;
    // Both halves set.
    void ToMsg(halden::zef::loftdb::UuidMsg& message) const;
    // The UuidMsg with both halves set, serialized: the tables' key.
    std::string Serialized() const;
    bool IsNil() const { return _left == 0 && _right == 0; }

    auto operator<=>(const Uuid&) const = default;

private:
    uint64_t _left = 0;
    uint64_t _right = 0;
};

}  // namespace CfgAgent
