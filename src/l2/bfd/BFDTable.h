#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "l2/bfd/BfdTep.h"

namespace CfgAgent {

// Why a BFD session is needed: a switch or domain that spans the local TEP
// (`localID`) and a switch, domain or VTEP group that holds the remote one.
struct BFDSessionIDs {
    enum Type : uint32_t { LOGICAL_SWITCH = 1, ROUTING_DOMAIN = 2, VTEP_GROUP = 3 };

    std::string localID;
    std::string remoteID;
    uint32_t type = LOGICAL_SWITCH;

    static const char* TypeName(uint32_t type);
    // An id as it prints: a switch's or domain's UUID text, a group's label.
    static std::string Text(const std::string& id);
};

// The pair of TEPs of a session, and the VTEP group that made it.
struct BFDSessionRecord {
    BfdTep local;
    BfdTep remote;
    uint32_t tnVgLabel = 0;
};

// The BFD sessions the kernel must run, each with its reasons. A session is
// made by its first reason and goes with its last.
class BFDTable {
public:
    enum SessionType : uint32_t { TUNNEL = 1, EVPN = 2 };

    struct Value {
        uint32_t type = 0;
        std::vector<std::string> localIDs;
    };
    struct Entry {
        BfdTep local;
        BfdTep remote;
        uint32_t tnVgLabel = 0;
        uint32_t sessionType = TUNNEL;
        std::map<std::string, Value> remoteIDs;
    };
    // Addresses first, so that the entries of one address pair stand together.
    using Key = std::tuple<bool, VxlanIp, bool, VxlanIp, uint32_t, uint32_t, uint32_t>;

    static const char* SessionTypeName(uint32_t sessionType);
    static uint32_t SessionTypeOf(uint32_t idsType) { return idsType == BFDSessionIDs::VTEP_GROUP ? EVPN : TUNNEL; }

    // True when the kernel must be told of a new session.
    bool Add(const BFDSessionRecord& record, const BFDSessionIDs& ids);
    // True when the kernel must be told the session is gone: no entry of
    // the address pair holds the remote ID any more.
    bool Delete(const BFDSessionRecord& record, const BFDSessionIDs& ids);

    const std::map<Key, Entry>& Entries() const { return _entries; }

private:
    static Key KeyOf(const BFDSessionRecord& record, uint32_t sessionType);

    std::map<Key, Entry> _entries;
};

}  // namespace CfgAgent
