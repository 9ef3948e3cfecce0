#include "l2/app/L2VtepGroups.h"

#include "frame/vocabulary/UpdateOperation.h"
#include "l2/app/L2TlvBatch.h"
#include "l2/codec/VxlanGroupAssociationCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/conversion/L2EntryConvertor.h"
#include "log/Logger.h"
#include "loftdb_overlay.pb.h"

namespace CfgAgent {

namespace {

namespace lb = halden::zef::loftdb;

constexpr const char* kName = "L2App";

VxlanGroupMember MemberOf(const VxlanVtepEntry& vtep) {
    VxlanGroupMember member;
    member.vtepIp = vtep.vtepIp;
    member.vtepLabel = vtep.vtepLabel;
    member.addressType = vtep.addressType;
    member.vtepIpv6 = vtep.vtepIpv6;
    member.vtepMac = vtep.vtepMac;
    member.encapType = vtep.encapType;
    member.mtepCapability = vtep.mtepCapability;
    return member;
}

VxlanGroup WireGroup(uint32_t label, const std::string& value, bool deleted) {
    VxlanGroup group;
    group.label = label;
    group.deleted = deleted;
    if (deleted) {
        return group;
    }
    lb::VtepGroupMsg message;
    message.ParseFromString(value);
    group.kind = static_cast<uint8_t>(message.type());
    group.policy = {static_cast<uint8_t>(message.ha_mode()),
                    static_cast<uint8_t>(message.activeness_protocol())};
    const size_t most = group.kind == VXLAN_GROUP_KIND_VTEP ? VXLAN_GROUP_MAX_VTEPS : VXLAN_GROUP_MAX_MEMBERS;
    for (const lb::LogSwitchVtepEntryMsg& stored : message.vteps()) {
        VxlanVtepEntry vtep;
        if (group.vteps.size() + group.members.size() >= most ||
            !L2EntryConvertor::VtepToWire(stored.SerializeAsString(), vtep)) {
            continue;
        }
        if (group.kind == VXLAN_GROUP_KIND_VTEP) {
            group.vteps.push_back(vtep);
        } else {
            group.members.push_back(MemberOf(vtep));
        }
    }
    return group;
}

uint32_t LabelOf(const LoftDBUpdateMsg& record, const lb::VtepGroupMsg& message) {
    if (message.has_label()) {
        return message.label();
    }
    try {
        return static_cast<uint32_t>(std::stoul(record.objectId));
    } catch (const std::exception&) {
        return 0;
    }
}

}  // namespace

const L2VtepGroups::Group* L2VtepGroups::Find(uint32_t label) const {
    auto it = _groups.find(label);
    return it != _groups.end() ? &it->second : nullptr;
}

void L2VtepGroups::Send(uint32_t label, const Group& group, bool deleted, L2TlvBatch& batch) const {
    std::vector<uint8_t> tlv;
    if (VxlanGroupCodec::Build(WireGroup(label, group.value, deleted), tlv)) {
        CFG_LOG(LL_DEBUG, deleted ? "%1: VTEP GROUP (%2) Delete to DP" : "%1: VTEP GROUP (%2) Update to DP",
                kName, label);
        batch.AddTlv(std::move(tlv));
    }
}

void L2VtepGroups::OnGroupRecord(const LoftDBUpdateMsg& record, L2TlvBatch& batch) {
    lb::VtepGroupMsg message;
    message.ParseFromString(record.propertyValue);
    const uint32_t label = LabelOf(record, message);
    const bool remove = record.operation == OP_DELETE;
    auto it = _groups.find(label);
    if (it == _groups.end()) {
        if (remove) {
            CFG_LOG(LL_TRACE, "%1: Delete non-existing VTEP Group (%2) ", kName, label);
            return;
        }
        _groups[label] = Group{{}, 0, message.type(), record.propertyValue, false};
        CFG_LOG(LL_INFO, "%1: VTEP Group (%2, type: %3) is %4 action is %5", kName, label, message.type(),
                "Added", "Disable");
        return;
    }
    Group& group = it->second;
    const bool inUse = !group.users.empty();
    if (!remove) {
        group.value = record.propertyValue;
        group.type = message.type();
        group.deleted = false;
        if (inUse) {
            if (group.type == VXLAN_GROUP_KIND_VTEP) {
                CFG_LOG(LL_ERROR, "%1: Updating TEP Group under usage (%2/%3) ", kName, label, group.users.size());
            }
            Send(label, group, false, batch);
        }
        CFG_LOG(LL_INFO, "%1: VTEP Group (%2, type: %3) is %4 action is %5", kName, label, group.type,
                "Added", inUse ? "Enable" : "Disable");
        return;
    }
    if (inUse) {
        CFG_LOG(LL_TRACE, "%1: Delete VTEP Group (type %2) in use (%3/%4) ", kName, group.type, label,
                group.users.size());
        if (group.type == VXLAN_GROUP_KIND_VTEP) {
            group.deleted = true;
            return;
        }
    }
    Send(label, group, true, batch);
    CFG_LOG(LL_INFO, "%1: VTEP Group (%2, type: %3) is %4 action is %5", kName, label, group.type, "Deleted",
            "Enable");
    _groups.erase(it);
}

bool L2VtepGroups::Associate(const std::string& user, const VxlanGroupAssociation& association,
                             uint32_t switchId, L2TlvBatch& batch) {
    auto it = _groups.find(association.label);
    if (it == _groups.end()) {
        return false;
    }
    Group& group = it->second;
    const bool unused = group.users.empty();
    group.users.insert(user);
    if (unused || IsTransportNodeLabel(association.label)) {
        Send(association.label, group, false, batch);
        group.switchId = switchId;
    }
    std::vector<uint8_t> tlv;
    if (VxlanGroupAssociationCodec::Build(association, tlv)) {
        batch.AddTlv(std::move(tlv));
    }
    return true;
}

bool L2VtepGroups::Disassociate(const std::string& user, VxlanGroupAssociation association,
                                L2TlvBatch& batch) {
    auto it = _groups.find(association.label);
    if (it == _groups.end()) {
        return false;
    }
    association.deleted = true;
    std::vector<uint8_t> tlv;
    if (VxlanGroupAssociationCodec::Build(association, tlv)) {
        batch.AddTlv(std::move(tlv));
    }
    Group& group = it->second;
    if (group.users.erase(user) != 0 && group.users.empty()) {
        Send(association.label, group, true, batch);
        EraseIfDone(it);
    }
    return true;
}

void L2VtepGroups::ForgetUser(const std::string& user) {
    for (auto it = _groups.begin(); it != _groups.end();) {
        auto next = std::next(it);
        if (it->second.users.erase(user) != 0) {
            EraseIfDone(it);
        }
        it = next;
    }
}

std::vector<uint32_t> L2VtepGroups::LabelsOf(const std::string& user) const {
    std::vector<uint32_t> labels;
    for (const auto& [label, group] : _groups) {
        if (group.users.contains(user)) {
            labels.push_back(label);
        }
    }
    return labels;
}

void L2VtepGroups::ForgetUsers() {
    for (auto it = _groups.begin(); it != _groups.end();) {
        auto next = std::next(it);
        it->second.users.clear();
        EraseIfDone(it);
        it = next;
    }
}

void L2VtepGroups::EraseIfDone(std::map<uint32_t, Group>::iterator it) {
    if (it->second.deleted && it->second.users.empty()) {
        _groups.erase(it);
    }
}

bool L2VtepGroups::AddGroupTlv(uint32_t label, L2TlvBatch& batch) const {
    const Group* group = Find(label);
    if (group == nullptr) {
        return false;
    }
    Send(label, *group, false, batch);
    return true;
}

}  // namespace CfgAgent
