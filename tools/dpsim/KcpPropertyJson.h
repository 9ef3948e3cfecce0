#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <map>
#include <vector>

namespace Dpsim {

// Property values by key, as the kernel keeps them for one record.
using KcpPropertySet = std::map<uint16_t, std::vector<uint8_t>>;

// Property values shown for people: the hex always, and beside it what the
// value means where that is plain, a NUL-ended text or a number of a key
// known to hold one.
class KcpPropertyJson {
public:
    enum class Owner { kPort, kTaknic, kHds };

    static constexpr uint16_t kBlockKey = 101;

    // {"KEY": {"hex": ..., "text" or "number": ...}, ...}
    static cJSON* Properties(Owner owner, const KcpPropertySet& properties);
    // true or false from the block key's text; null when it is absent or
    // holds anything else.
    static cJSON* Blocked(const KcpPropertySet& properties);
};

}  // namespace Dpsim
