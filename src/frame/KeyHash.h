#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace CfgAgent {

// The integer mix of the agent's hashed containers: component numbers are
// hashed directly, serialized ids after the library's string hash.
inline uint64_t MixHash(uint64_t key) {
    uint64_t x = key * 0x1FFFFFULL - 1;
    x = (x ^ (x >> 24)) * 265;
    x = (x ^ (x >> 14)) * 21;
    return (x ^ (x >> 28)) * 0x80000001ULL;
}

struct ComponentHash {
    size_t operator()(uint32_t key) const { return MixHash(key); }
};

struct SerializedIdHash {
    size_t operator()(const std::string& key) const { return MixHash(std::hash<std::string>()(key)); }
};

}  // namespace CfgAgent
