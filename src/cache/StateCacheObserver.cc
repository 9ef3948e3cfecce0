#include "cache/StateCacheObserver.h"

#include <google/protobuf/descriptor.h>

#include <optional>
#include <vector>

#include "log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_common.pb.h"
#include "loftdb_runtime.pb.h"
#include "loftdb_runtime_op.pb.h"
#include "loftdb_store.pb.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"

namespace CfgAgent {

using google::protobuf::Message;
using halden::zef::loftdb::ModifyRequestMsg;
using Requests = std::vector<ModifyRequestMsg>;

namespace {

constexpr uint32_t kVifConnected = 3;

// Put and delete carry the same typed object.
template <typename Modify>
void FillTyped(Modify& modify, uint32_t objectType, const Message& body, uint32_t vdbId) {
    modify.mutable_object()->set_object_type(objectType);
    modify.mutable_object()->set_body(body.SerializeAsString());
    modify.add_vdb_id(vdbId);
}

ModifyRequestMsg Flush(uint32_t objectType, uint32_t vdbId) {
    ModifyRequestMsg request;
    auto* flush = request.add_modify()->mutable_flush();
    flush->set_object_type(objectType);
    flush->add_vdb_id(vdbId);
    return request;
}

ModifyRequestMsg Put(uint32_t objectType, const Message& body, uint32_t vdbId) {
    ModifyRequestMsg request;
    FillTyped(*request.add_modify()->mutable_put(), objectType, body, vdbId);
    return request;
}

ModifyRequestMsg Delete(uint32_t objectType, const Message& key, uint32_t vdbId) {
    ModifyRequestMsg request;
    FillTyped(*request.add_modify()->mutable_delete_(), objectType, key, vdbId);
    return request;
}

ModifyRequestMsg Patch(uint32_t objectType, const Message& body, const Message& op,
                       uint32_t vdbId) {
    ModifyRequestMsg request;
    auto* patch = request.add_modify()->mutable_patch();
    patch->mutable_object()->set_object_type(objectType);
    patch->mutable_object()->set_body(body.SerializeAsString());
    patch->set_op_body(op.SerializeAsString());
    patch->add_vdb_id(vdbId);
    return request;
}

// A property of a VIF state becomes SET or CLEAR of its list; the value is
// the VIF state that holds the list.
ModifyRequestMsg VifStatePatch(const LoftDBUpdateMsg& record, uint32_t vdbId) {
    using namespace halden::zef::loftdb;
    const PbOpType type = record.operation == OP_UPDATE ? SET : CLEAR;
    VifStateMsg body;
    body.ParseFromString(record.propertyValue);
    body.set_id(record.objectId);
    VifStateOpMsg op;
    if (record.propertyType == VIF_IP_DISCOVEREDBINDING) {
        op.add_discovered_bindings()->set_self(type);
        if (body.state() == kVifConnected) {
            op.set_state(type);
        }
    } else if (record.propertyType == VIF_MAC) {
        op.add_macs()->set_self(type);
    }
    CFG_LOG(LL_DEBUG, "StateCacheObserver: prepare VIF_STATE Patch object (id %1) property %2",
            record.objectId, type == SET ? "SET" : "CLEAR");
    return Patch(VIF_STATE, body, op, vdbId);
}

std::optional<ModifyRequestMsg> VifStateRequest(const LoftDBUpdateMsg& record, uint32_t vdbId) {
    halden::zef::loftdb::VifStateMsg object;
    object.set_id(record.objectId);
    const bool whole = record.propertyType == 0;
    if (record.operation == OP_UPDATE && whole && record.propertyValue.empty()) {
        CFG_LOG(LL_DEBUG, "StateCacheObserver: prepare VIF_STATE Put object (id %1)",
                record.objectId);
        return Put(VIF_STATE, object, vdbId);
    }
    if (record.operation == OP_DELETE && whole) {
        CFG_LOG(LL_DEBUG, "StateCacheObserver: prepare VIF_STATE Delete object (id %1)",
                record.objectId);
        return Delete(VIF_STATE, object, vdbId);
    }
    if (record.operation == OP_UPDATE || record.operation == OP_DELETE) {
        return VifStatePatch(record, vdbId);
    }
    return std::nullopt;
}

std::optional<ModifyRequestMsg> HotmoveRequest(const LoftDBUpdateMsg& record, uint32_t vdbId) {
    halden::zef::loftdb::HotmoveStatusMsg object;
    object.set_id(record.objectId);
    const bool whole = record.propertyType == 0;
    if (record.operation == OP_UPDATE) {
        if (whole && record.propertyValue.empty()) {
            CFG_LOG(LL_DEBUG, "StateCacheObserver: prepare HOTMOVE_STATUS Put object (id %1)",
                    record.objectId);
            return Put(HOTMOVE_STATUS, object, vdbId);
        }
        CFG_LOG(LL_ERROR, "StateCacheObserver: failed to process HOTMOVE_STATUS update message");
    } else if (record.operation == OP_DELETE) {
        if (whole) {
            CFG_LOG(LL_DEBUG, "StateCacheObserver: prepare HOTMOVE_STATUS Delete object (id %1)",
                    record.objectId);
            return Delete(HOTMOVE_STATUS, object, vdbId);
        }
        CFG_LOG(LL_ERROR, "StateCacheObserver: failed to process HOTMOVE_STATUS deletion message");
    }
    return std::nullopt;
}

// The log lines of one L2 runtime object type.
struct L2Texts {
    const char* put;
    const char* remove;
    const char* patch;       // %2 APPEND or REMOVE, %3 the property
    const char* afterPatch;  // or null
};

constexpr L2Texts kLogSwitchStateTexts{
    "StateCacheObserver: prepare LOG_SWITCH_STATE Put object (id %1)",
    "StateCacheObserver: prepare LOG_SWITCH_STATE Delete object (id %1)",
    "StateCacheObserver: prepare LOG_SWITCH_STATE Patch object (id %1) %2 %3",
    "StateCacheObserver: prepare LOG_SWITCH_STATE Patch object  (id %1)",
};

constexpr L2Texts kRoutingDomainVtepTexts{
    "StateCacheObserver: prepare ROUTING_DOMAIN_VTEP Put object (id %1)",
    "StateCacheObserver: prepare ROUTING_DOMAIN_VTEP Delete object (id %1)",
    "StateCacheObserver: prepare ROUTING_DOMAIN_VTEP Patch object (id %1) %2 %3",
    nullptr,
};

// The list of the object that holds a property's entries, or null.
const char* EntryList(uint32_t objectType, uint32_t propertyType) {
    if (propertyType == L2_VTEP) {
        return "vteps";
    }
    if (objectType != LOG_SWITCH_STATE) {
        return nullptr;
    }
    return propertyType == L2_VM_IP ? "ips" : propertyType == L2_VM_MAC ? "macs" : nullptr;
}

// One entry appended to or removed from its list; the store matches a
// removed entry by its key.
ModifyRequestMsg EntryPatch(const LoftDBUpdateMsg& record, Message& object, const char* list,
                            const L2Texts& texts, uint32_t vdbId) {
    const bool append = record.operation == OP_UPDATE;
    const auto* field = object.GetDescriptor()->FindFieldByName(list);
    object.GetReflection()->AddMessage(&object, field)->ParseFromString(record.propertyValue);
    auto op = zef::loftdb::OpReflection::NewOpMessage(object.GetDescriptor());
    const auto* opField = op->GetDescriptor()->FindFieldByNumber(field->number());
    zef::loftdb::OpReflection::SetSelf(
        *op->GetReflection()->AddMessage(op.get(), opField),
        append ? halden::zef::loftdb::APPEND : halden::zef::loftdb::REMOVE);
    const std::string id = UuidBytesToString(record.objectId);
    CFG_LOG(LL_DEBUG, texts.patch, id, append ? "APPEND" : "REMOVE",
            PropertyTypeToString(record.propertyType));
    if (texts.afterPatch != nullptr) {
        CFG_LOG(LL_DEBUG, texts.afterPatch, id);
    }
    return Patch(record.objectType, object, *op, vdbId);
}

std::optional<ModifyRequestMsg> L2Request(const LoftDBUpdateMsg& record, const L2Texts& texts,
                                          uint32_t vdbId) {
    auto object = zef::loftdb::ObjectTypes::NewObject(record.objectType);
    const auto* key = object->GetDescriptor()->FindFieldByNumber(1);
    object->GetReflection()->MutableMessage(object.get(), key)->ParseFromString(record.objectId);
    if (record.operation == OP_UPDATE && record.propertyValue.empty()) {
        CFG_LOG(LL_DEBUG, texts.put, UuidBytesToString(record.objectId));
        return Put(record.objectType, *object, vdbId);
    }
    if (record.operation == OP_DELETE && record.propertyType == 0) {
        CFG_LOG(LL_DEBUG, texts.remove, UuidBytesToString(record.objectId));
        return Delete(record.objectType, *object, vdbId);
    }
    if (const char* list = EntryList(record.objectType, record.propertyType)) {
        return EntryPatch(record, *object, list, texts, vdbId);
    }
    return std::nullopt;
}

bool IsGlobalRoutingDomain(const std::string& id) {
    halden::zef::loftdb::UuidMsg uuid;
    return uuid.ParseFromString(id) && uuid.left() == 0 && uuid.right() == 0;
}

// How a batch of one table starts: the object types a full sync flushes,
// and what is said when there is no vdb to write to.
struct BatchStart {
    struct Flushed {
        uint32_t objectType;
        const char* line;
    };
    const char* noVdb;
    Flushed flushes[2];
};

constexpr BatchStart kConfigBatch{
    "StateCacheObserver: Failed to get VDB ID when processing VIF_STATE message.",
    {{VIF_STATE, "StateCacheObserver: prepare VIF_STATE Flush object"},
     {HOTMOVE_STATUS, "StateCacheObserver: prepare HOTMOVE_STATUS Flush object"}},
};

constexpr BatchStart kL2Batch{
    "StateCacheObserver: Failed to get VDB ID when processing L2 runtime message.",
    {{LOG_SWITCH_STATE, "StateCacheObserver: prepare LOG_SWITCH_STATE Flush object"},
     {ROUTING_DOMAIN_VTEP, "StateCacheObserver: prepare ROUTING_DOMAIN_VTEP Flush object"}},
};

struct Batch {
    uint32_t vdbId;
    Requests requests;
};

// Nothing when there is nothing to write: an empty delta, or no vdb.
std::optional<Batch> Begin(const LoftDBUpdateList& list, bool isFullSync, uint32_t vdbId,
                           const BatchStart& start) {
    if (list.empty() && !isFullSync) {
        return std::nullopt;
    }
    if (vdbId == 0) {
        CFG_LOG(LL_ERROR, start.noVdb);
        return std::nullopt;
    }
    Batch batch{vdbId, {}};
    if (!isFullSync) {
        return batch;
    }
    // A full sync replaces what the store held wholesale.
    for (const auto& flushed : start.flushes) {
        batch.requests.push_back(Flush(flushed.objectType, vdbId));
        CFG_LOG(LL_DEBUG, flushed.line);
    }
    return batch;
}

void Add(Requests& requests, ModifyRequestMsg request) {
    CFG_LOG(LL_DEBUG, "StateCacheObserver: dump %1", request.ShortDebugString());
    requests.push_back(std::move(request));
}

}  // namespace

StateCacheObserver::StateCacheObserver(ILoftdbClient& loftdbClient,
                                       zef::RefPtr<StateCache> stateCache)
    : _loftdbClient(loftdbClient), _stateCache(std::move(stateCache)) {}

bool StateCacheObserver::Start() {
    auto& table = *_stateCache->ConfigTable();
    const bool registered = table.RegisterRuntimeStateObserver(VIF_STATE, this) &&
                            table.RegisterRuntimeStateObserver(HOTMOVE_STATUS, this) &&
                            _stateCache->L2Table()->RegisterRuntimeStateObserver(this);
    if (registered) {
        CFG_LOG(LL_INFO, "StateCacheObserver: registered config and l2 runtime cache");
    } else {
        CFG_LOG(LL_ERROR, "StateCacheObserver: failed in registering runtime cache");
    }
    return registered;
}

bool StateCacheObserver::Stop() {
    // Both tables are left, whatever the first one says.
    const bool config = _stateCache->ConfigTable()->UnregisterRuntimeStateObserver(this);
    const bool l2 = _stateCache->L2Table()->UnregisterRuntimeStateObserver(this);
    if (config && l2) {
        CFG_LOG(LL_INFO, "StateCacheObserver: unregistered config and l2 runtime cache");
    } else {
        CFG_LOG(LL_ERROR, "StateCacheObserver: failed in unregistering runtime cache");
    }
    return config && l2;
}

void StateCacheObserver::ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList& list,
                                                         bool isFullSync) {
    auto batch = Begin(list, isFullSync, _loftdbClient.VdbId(), kConfigBatch);
    if (!batch) {
        return;
    }
    for (const LoftDBUpdateMsg& record : list) {
        std::optional<ModifyRequestMsg> request;
        if (record.objectType == VIF_STATE) {
            request = VifStateRequest(record, batch->vdbId);
        } else if (record.objectType == HOTMOVE_STATUS) {
            request = HotmoveRequest(record, batch->vdbId);
        }
        if (request) {
            Add(batch->requests, std::move(*request));
        }
    }
    _loftdbClient.WriteRuntimeState(std::move(batch->requests), {});
    CFG_LOG(LL_DEBUG, "StateCacheObserver: write local config to LoftDB");
}

void StateCacheObserver::ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list,
                                                     bool isFullSync) {
    auto batch = Begin(list, isFullSync, _loftdbClient.VdbId(), kL2Batch);
    if (!batch) {
        return;
    }
    // The global routing domain's writes go last in the batch.
    Requests global;
    for (const LoftDBUpdateMsg& record : list) {
        std::optional<ModifyRequestMsg> request;
        if (record.objectType == LOG_SWITCH_STATE) {
            request = L2Request(record, kLogSwitchStateTexts, batch->vdbId);
        } else if (record.objectType == ROUTING_DOMAIN_VTEP) {
            request = L2Request(record, kRoutingDomainVtepTexts, batch->vdbId);
        }
        if (!request) {
            continue;
        }
        const bool last =
            record.objectType == ROUTING_DOMAIN_VTEP && IsGlobalRoutingDomain(record.objectId);
        Add(last ? global : batch->requests, std::move(*request));
    }
    _loftdbClient.WriteRuntimeState(std::move(batch->requests), std::move(global));
    CFG_LOG(LL_DEBUG, "StateCacheObserver: write local l2 to LoftDB");
}

}  // namespace CfgAgent
