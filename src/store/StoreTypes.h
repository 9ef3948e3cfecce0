#pragma once

#include <cstdint>
#include <span>

#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace halden::zef::loftdb {
class MonitorUpdateMsg;
}

namespace CfgAgent {

// Every store object type the agent reads, one row each: how it is watched,
// how its updates turn into records and which components get them. Adding
// a type is adding a row; `Check` refuses a row with a missing piece.
class StoreTypes {
public:
    enum class Watch : uint8_t {
        Always,
        SmartnicHost,  // only on a smartnic host
        OnDemand,      // once the guest channel's global configuration arrives
    };
    // What a monitor selects besides the change itself.
    enum class Select : uint8_t {
        None,
        Lists,  // the key and one element of each list
        Self,   // the whole object
    };
    using Decode = LoftDBUpdateList (*)(const halden::zef::loftdb::MonitorUpdateMsg&);

    static constexpr size_t kMaxReceivers = 6;
    // One reading of an update and who gets it; receivers end at the first
    // COMPONENT_NONE.
    struct Delivery {
        Decode decode = nullptr;
        ComponentType to[kMaxReceivers] = {};

        std::span<const ComponentType> Receivers() const;
    };

    struct Row {
        uint32_t type;
        Watch watch;
        uint32_t mode;
        Select select;
        Delivery delivery;
        Delivery second = {};         // a second reading, rarely
        bool startsCradleVifWatch = false;  // each update asks for the OnDemand row
    };

    // In the order the monitors are registered.
    static std::span<const Row> Rows();
    static const Row* Find(uint32_t type);
    // Throws std::logic_error naming the first row that misses a piece: a
    // decoder, a receiver, a type the store's schema lacks, a twin row, an
    // on-demand row nothing asks for.
    static void Check();
};

}  // namespace CfgAgent
