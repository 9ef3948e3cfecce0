#include "l2/bfd/BFDTable.h"

#include <algorithm>

#include "frame/vocabulary/UuidText.h"
#include "log/Logger.h"

namespace CfgAgent {

namespace {

constexpr const char* kName = "BFD";

std::string IdText(const std::string& id) { return BFDSessionIDs::Text(id); }

}  // namespace

// Switch and domain ids are serialized UuidMsgs; a group's is its label.
std::string BFDSessionIDs::Text(const std::string& id) {
    std::string text = UuidBytesToString(id);
    return text.empty() ? id : text;
}

const char* BFDSessionIDs::TypeName(uint32_t type) {
    switch (type) {
        case LOGICAL_SWITCH: return "Logical Switch";
        case ROUTING_DOMAIN: return "Routing Romain";
        case VTEP_GROUP: return "VTEP Group";
        default: return "Unknown";
    }
}

const char* BFDTable::SessionTypeName(uint32_t sessionType) {
    return sessionType == TUNNEL ? "Tunnel" : sessionType == EVPN ? "EVPN" : "Unknown";
}

BFDTable::Key BFDTable::KeyOf(const BFDSessionRecord& record, uint32_t sessionType) {
    return {record.local.ipv6, record.local.ip, record.remote.ipv6, record.remote.ip, record.local.label,
            record.remote.label, sessionType};
}

bool BFDTable::Add(const BFDSessionRecord& record, const BFDSessionIDs& ids) {
    if (record.local.ipv6 != record.remote.ipv6) {
        CFG_LOG(LL_WARN, "%1: AddBFDSessionToBFDTable type error: Local IP type is v4: %2, RemoteIP type is v4: %3",
                kName, !record.local.ipv6, !record.remote.ipv6);
        return false;
    }
    const uint32_t sessionType = SessionTypeOf(ids.type);
    const Key key = KeyOf(record, sessionType);
    auto found = _entries.find(key);
    if (found == _entries.end()) {
        CFG_LOG(LL_DEBUG,
                "AddBFDSessionToBFDTable: Create BFD table entry (localIP: %1, remoteIP:%2, localLabel: %3, "
                "remoteLabel: %4, tnVgLabel: %5, sessionType: %6) and insert remoteID: %7(%8), localID: %9 to it.",
                record.local.Text(), record.remote.Text(), record.local.label, record.remote.label, record.tnVgLabel,
                SessionTypeName(sessionType), IdText(ids.remoteID), BFDSessionIDs::TypeName(ids.type),
                IdText(ids.localID));
        Entry entry{record.local, record.remote, record.tnVgLabel, sessionType, {}};
        entry.remoteIDs[ids.remoteID] = Value{ids.type, {ids.localID}};
        _entries.emplace(key, std::move(entry));
        return true;
    }
    Entry& entry = found->second;
    auto remote = entry.remoteIDs.find(ids.remoteID);
    if (remote == entry.remoteIDs.end()) {
        CFG_LOG(LL_DEBUG,
                "%1: AddBFDSessionToBFDTable: Insert remoteID: %2(%3), localID: %4 to BFD table entry (localIP: %5, "
                "remoteIP: %6, localLabel: %7, remoteLabel: %8, sessionType: %9)",
                kName, IdText(ids.remoteID), BFDSessionIDs::TypeName(ids.type), IdText(ids.localID),
                record.local.Text(), record.remote.Text(), record.local.label, record.remote.label,
                SessionTypeName(sessionType));
        entry.remoteIDs[ids.remoteID] = Value{ids.type, {ids.localID}};
        return true;
    }
    std::vector<std::string>& locals = remote->second.localIDs;
    if (std::find(locals.begin(), locals.end(), ids.localID) == locals.end()) {
        locals.push_back(ids.localID);
        return false;
    }
    if (record.tnVgLabel != 0) {
        // A group session is sent again, the table stays.
        return true;
    }
    CFG_LOG(LL_ERROR,
            "BFDTable has contained valid bfd session (%1 --> %2)for localID %3 --> remote ID %4 to be added, "
            "tnVgLabel : %5",
            record.local.Text(), record.remote.Text(), IdText(ids.localID), IdText(ids.remoteID), record.tnVgLabel)
        .Tag("errorCode:LCP00007");
    return false;
}

bool BFDTable::Delete(const BFDSessionRecord& record, const BFDSessionIDs& ids) {
    if (record.local.ipv6 != record.remote.ipv6) {
        CFG_LOG(LL_WARN,
                "%1: DeleteBFDSessionFromBFDTable type error: Local IP type is v4: %2, RemoteIP type is v4: %3", kName,
                !record.local.ipv6, !record.remote.ipv6);
        return false;
    }
    const uint32_t sessionType = SessionTypeOf(ids.type);
    auto found = _entries.find(KeyOf(record, sessionType));
    auto missing = [&](bool noEntry) {
        if (noEntry) {
            CFG_LOG(LL_ERROR,
                    "BFDTable does not contain valid bfd session (%1 --> %2)for localID %3 --> remote ID %4 to be "
                    "deleted, session type is : %5",
                    record.local.Text(), record.remote.Text(), IdText(ids.localID), IdText(ids.remoteID),
                    SessionTypeName(sessionType))
                .Tag("errorCode:LCP00007");
        } else {
            CFG_LOG(LL_ERROR,
                    "BFDTable does not contain valid bfd session (%1 --> %2)for localID %3 --> remote ID %4 to be "
                    "deleted",
                    record.local.Text(), record.remote.Text(), IdText(ids.localID), IdText(ids.remoteID))
                .Tag("errorCode:LCP00007");
        }
        return false;
    };
    if (found == _entries.end()) {
        return missing(true);
    }
    Entry& entry = found->second;
    auto remote = entry.remoteIDs.find(ids.remoteID);
    if (remote == entry.remoteIDs.end()) {
        return missing(false);
    }
    std::vector<std::string>& locals = remote->second.localIDs;
    auto local = std::find(locals.begin(), locals.end(), ids.localID);
    if (local == locals.end()) {
        return missing(false);
    }
    locals.erase(local);
    if (!locals.empty()) {
        return false;
    }
    entry.remoteIDs.erase(remote);
    if (entry.remoteIDs.empty()) {
        _entries.erase(found);
    }
    // Entries that differ only in labels or type keep the kernel's session.
    const Key first{record.local.ipv6, record.local.ip, record.remote.ipv6, record.remote.ip, 0, 0, 0};
    for (auto it = _entries.lower_bound(first); it != _entries.end(); ++it) {
        const Entry& other = it->second;
        if (other.local.ipv6 != record.local.ipv6 || other.local.ip != record.local.ip ||
            other.remote.ipv6 != record.remote.ipv6 || other.remote.ip != record.remote.ip) {
            break;
        }
        if (other.remoteIDs.contains(ids.remoteID)) {
            return false;
        }
    }
    return true;
}

}  // namespace CfgAgent
