#pragma once

// Pieces the decoder families share; private to the Decoder*.cc files.

#include <google/protobuf/repeated_field.h>

#include <cstdint>
#include <string>

#include "log/Logger.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "frame/vocabulary/PbOpType.h"
#include "loftdb_common.pb.h"
#include "loftdb_store.pb.h"

namespace google::protobuf {
class FieldDescriptor;
class Message;
}

namespace CfgAgent::DecoderDetail {

using halden::zef::loftdb::MonitorUpdateMsg;

// The update's span context, serialized; empty when it has none.
std::string TraceOf(const MonitorUpdateMsg& update);

template <class Msg>
std::string TenantOf(const Msg& msg) {
    return msg.has_tenant_context() ? msg.tenant_context().SerializeAsString() : std::string();
}

inline std::string KeyBytes(const halden::zef::loftdb::UuidMsg& id) {
    return id.SerializeAsString();
}
inline std::string KeyBytes(const std::string& id) {
    return id;
}

// A record with a value; trace and tenant only where a family carries them.
LoftDBUpdateMsg Record(uint32_t objectType, const std::string& key, uint32_t operation,
                       uint32_t propertyType, std::string value, SharedBytes trace = {},
                       SharedBytes tenant = {});

void LogParseFailure(const MonitorUpdateMsg& update, const char* message);

// One update taken apart: the object, its op message and, when the store sent
// it, the former object.
template <class Msg, class OpMsg>
struct Parsed {
    Msg body;
    OpMsg op;
    Msg old;
    bool hasOld = false;
    uint32_t self = 0;
    std::string key;

    const char* OpName() const { return PBOpTypeToString(self); }
    // Where a delete finds what it removes.
    const Msg& Former() const { return hasOld ? old : body; }
};

// A body that does not parse yields no record: what it would say is unknown.
template <class Msg, class OpMsg>
bool Parse(const MonitorUpdateMsg& update, const char* message, Parsed<Msg, OpMsg>& parsed) {
    parsed.hasOld = update.has_old_object_body();
    if (!parsed.body.ParseFromString(update.object_body()) ||
        !parsed.op.ParseFromString(update.op_body()) ||
        (parsed.hasOld && !parsed.old.ParseFromString(update.old_object_body()))) {
        LogParseFailure(update, message);
        return false;
    }
    parsed.self = parsed.op.self();
    parsed.key = KeyBytes(parsed.body.id());
    return true;
}

// Family P: the object record, then one record per property in the table's
// order, an update holding the object with only that field, or a delete.
struct PropertyField {
    uint32_t propertyType;
    const char* field;
};

// `fields` are the table's fields in the message, looked up once per type.
void PerPropertySet(uint32_t objectType, const std::string& key,
                    const google::protobuf::Message& body, const PropertyField* table,
                    const google::protobuf::FieldDescriptor* const* fields, size_t count,
                    const SharedBytes& trace, const SharedBytes& tenant, LoftDBUpdateList& records);

// The object with only `field` set, serialized.
std::string OnlyField(const google::protobuf::Message& body, const char* field);
std::string OnlyField(const google::protobuf::Message& body,
                      const google::protobuf::FieldDescriptor* field);

// The walk over one list's element operations, shared by the entry families.
// The sink decides what a removal or an addition becomes.
template <class Elem, class ElemOp, class Sink>
void WalkEntries(const google::protobuf::RepeatedPtrField<ElemOp>& ops,
                 const google::protobuf::RepeatedPtrField<Elem>& current,
                 const google::protobuf::RepeatedPtrField<Elem>& former, Sink& sink) {
    int j = 0;
    for (int i = 0; i < ops.size(); ++i) {
        switch (static_cast<uint32_t>(ops.Get(i).self())) {
            case PB_OP_SET:
                for (const Elem& elem : former) {
                    sink.Removed(elem, false);
                }
                for (const Elem& elem : current) {
                    sink.Added(elem);
                }
                return;
            case PB_OP_CLEAR:
                for (const Elem& elem : former) {
                    sink.Removed(elem, false);
                }
                return;
            case PB_OP_INSERT:
            case PB_OP_APPEND:
                if (i >= current.size()) {
                    sink.SizeMismatch(i);
                    return;
                }
                sink.Added(current.Get(i));
                break;
            case PB_OP_REMOVE:
                if (i >= current.size()) {
                    sink.SizeMismatch(i);
                    return;
                }
                sink.Removed(current.Get(i), true);
                break;
            case PB_OP_UPDATE:
                if (j >= former.size()) {
                    sink.OldSizeMismatch(i, j);
                    return;
                }
                sink.Removed(former.Get(j), true);
                ++j;
                if (i >= current.size()) {
                    sink.SizeMismatch(i);
                    return;
                }
                sink.Added(current.Get(i));
                break;
            default:
                break;
        }
    }
}

}  // namespace CfgAgent::DecoderDetail
