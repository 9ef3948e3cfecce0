#pragma once

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "log/LogLevel.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "loftdb_common.pb.h"
#include "loftdb_store.pb.h"
#include "support/LogCapture.h"
#include "zef/loftdb/UpdateBuilder.h"

namespace StoreTest {

namespace lb = halden::zef::loftdb;
using zef::test::LogCapture;
using CfgAgent::LoftDBUpdateList;
using CfgAgent::LoftDBUpdateMsg;

inline lb::UuidMsg Uuid(uint64_t left, uint64_t right = 0x1111) {
    lb::UuidMsg uuid;
    uuid.set_left(left);
    uuid.set_right(right);
    return uuid;
}

inline std::string Key(uint64_t left) {
    return Uuid(left).SerializeAsString();
}

// What the store sends a monitor for one changed object.
inline lb::MonitorUpdateMsg Change(uint32_t objectType, const google::protobuf::Message* before,
                                   const google::protobuf::Message* after,
                                   const std::string& select = {}, uint32_t mode = 1) {
    return zef::loftdb::BuildMonitorUpdate(objectType, before, after, select, mode);
}

// A delete as an older store sent it: without the former object.
inline lb::MonitorUpdateMsg BareDelete(uint32_t objectType, const google::protobuf::Message* before) {
    lb::MonitorUpdateMsg update = Change(objectType, before, nullptr);
    update.clear_old_object_body();
    return update;
}

inline lb::SpanContextMsg Span() {
    lb::SpanContextMsg span;
    span.set_trace_id("trace-0001");
    span.set_span_id("span-01");
    return span;
}

inline std::vector<LoftDBUpdateMsg> AsVector(const LoftDBUpdateList& records) {
    return {records.begin(), records.end()};
}

template <typename T>
T ParseAs(const std::string& bytes) {
    T message;
    EXPECT_TRUE(message.ParseFromString(bytes));
    return message;
}

// Sets every top-level field: scalars to a value other than their default,
// messages present, lists with one element.
inline void FillEveryField(google::protobuf::Message& message) {
    using google::protobuf::FieldDescriptor;
    const auto* reflection = message.GetReflection();
    for (int i = 0; i < message.GetDescriptor()->field_count(); ++i) {
        const FieldDescriptor* f = message.GetDescriptor()->field(i);
        const bool list = f->is_repeated();
        switch (f->cpp_type()) {
            case FieldDescriptor::CPPTYPE_MESSAGE:
                list ? (void)reflection->AddMessage(&message, f) : (void)reflection->MutableMessage(&message, f);
                break;
            case FieldDescriptor::CPPTYPE_STRING:
                list ? reflection->AddString(&message, f, "x") : reflection->SetString(&message, f, "x");
                break;
            case FieldDescriptor::CPPTYPE_BOOL:
                list ? reflection->AddBool(&message, f, true) : reflection->SetBool(&message, f, true);
                break;
            case FieldDescriptor::CPPTYPE_ENUM:
                reflection->SetEnum(&message, f, f->enum_type()->value(0));
                break;
            case FieldDescriptor::CPPTYPE_UINT32:
                list ? reflection->AddUInt32(&message, f, 7) : reflection->SetUInt32(&message, f, 7);
                break;
            case FieldDescriptor::CPPTYPE_UINT64:
                list ? reflection->AddUInt64(&message, f, 7) : reflection->SetUInt64(&message, f, 7);
                break;
            case FieldDescriptor::CPPTYPE_DOUBLE:
                reflection->SetDouble(&message, f, 0.5);
                break;
            default:
                ADD_FAILURE() << "no filler for " << f->full_name();
        }
    }
}

// The console lines of the agent's log while it lives, at the given level.

}  // namespace StoreTest
