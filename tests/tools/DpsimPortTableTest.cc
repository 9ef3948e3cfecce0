#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "JsonPtr.h"
#include "KcpKernel.h"
#include "KcpPortTable.h"
#include "dplink/BigEndian.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace {

using namespace CfgAgent;
using Dpsim::JsonPtr;
using Message = std::vector<uint8_t>;
using Bytes = std::vector<uint8_t>;

Bytes Text(const std::string& text) {
    Bytes value(text.begin(), text.end());
    value.push_back(0);
    return value;
}

Message Properties(uint8_t operation, std::vector<KcpPropertyRecord> records, bool more = false,
                   uint16_t dataType = KCP_PORT_PROPERTY_UPDATE) {
    Message message;
    EXPECT_TRUE(KcpPropertyUpdateCodec::BuildMessage(
        dataType, KcpPropertyUpdate{operation, std::move(records)}, more, message));
    return message;
}

Message List(uint16_t dataType, const std::vector<std::string>& ids, bool more = false) {
    Message message;
    EXPECT_TRUE(KcpIdListCodec::BuildMessage(dataType, ids, more, message));
    return message;
}

class Table {
public:
    void Apply(const Message& message) { ASSERT_EQ(_table.Apply(message), "") << Printed(); }
    std::string Refuse(const Message& message) {
        const std::string before = Printed();
        const std::string error = _table.Apply(message);
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(Printed(), before) << error;
        return error;
    }
    JsonPtr Dump() const {
        JsonPtr dump(cJSON_CreateObject());
        _table.Dump(dump.get());
        return dump;
    }
    std::string Printed() const {
        JsonPtr dump = Dump();
        char* text = cJSON_PrintUnformatted(dump.get());
        std::string result = text;
        cJSON_free(text);
        return result;
    }

private:
    Dpsim::KcpPortTable _table;
};

const cJSON* Item(const cJSON* object, const std::string& key) {
    return cJSON_GetObjectItemCaseSensitive(object, key.c_str());
}

const cJSON* Record(const JsonPtr& dump, const char* kind, const std::string& id) {
    return Item(Item(dump.get(), kind), id);
}

const cJSON* Property(const JsonPtr& dump, const char* kind, const std::string& id, int key) {
    return Item(Item(Record(dump, kind, id), "properties"), std::to_string(key));
}

std::string Field(const cJSON* object, const char* key) {
    const cJSON* item = Item(object, key);
    return cJSON_IsString(item) ? item->valuestring : "<absent>";
}

int Size(const cJSON* object) {
    return object == nullptr ? -1 : cJSON_GetArraySize(object);
}

Bytes Be32(uint32_t value) {
    Bytes bytes(4);
    BigEndian::Put32(bytes.data(), value);
    return bytes;
}

TEST(DpsimPortTable, PropertyOperationsSetRemoveAndReplaceAsTheKernelDoes) {
    Table table;
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-a", {{101, Text("true")}, {1, Be32(5001)}}}}));
    JsonPtr dump = table.Dump();
    EXPECT_TRUE(cJSON_IsTrue(Item(Record(dump, "ports", "vif-a"), "blocked")));
    EXPECT_EQ(Field(Property(dump, "ports", "vif-a", 101), "hex"), "7472756500");
    EXPECT_EQ(Field(Property(dump, "ports", "vif-a", 101), "text"), "true");
    EXPECT_EQ(Item(Property(dump, "ports", "vif-a", 1), "number")->valuedouble, 5001);

    // Update merges: new keys join, a given key is replaced, an empty value
    // removes its key.
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-a", {{202, Text("lb")}, {101, Text("false")}}}}));
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-a", {{202, {}}}}}));
    dump = table.Dump();
    EXPECT_TRUE(cJSON_IsFalse(Item(Record(dump, "ports", "vif-a"), "blocked")));
    EXPECT_EQ(Size(Item(Record(dump, "ports", "vif-a"), "properties")), 2);
    EXPECT_EQ(Property(dump, "ports", "vif-a", 202), nullptr);

    // Delete takes the keys it names.
    table.Apply(Properties(KCP_OP_DELETE, {{"vif-a", {{101, {}}}}}));
    dump = table.Dump();
    EXPECT_TRUE(cJSON_IsNull(Item(Record(dump, "ports", "vif-a"), "blocked")));
    EXPECT_NE(Property(dump, "ports", "vif-a", 1), nullptr);

    // Full sync leaves exactly the set it carries, even on a record it creates.
    table.Apply(Properties(KCP_OP_FULL_SYNC, {{"vif-a", {{41, {1, 2, 3}}}}, {"vif-b", {}}}));
    dump = table.Dump();
    EXPECT_EQ(Size(Item(Record(dump, "ports", "vif-a"), "properties")), 1);
    EXPECT_EQ(Field(Property(dump, "ports", "vif-a", 41), "hex"), "010203");
    EXPECT_EQ(Field(Property(dump, "ports", "vif-a", 41), "text"), "<absent>");
    EXPECT_TRUE(cJSON_IsTrue(Item(Record(dump, "ports", "vif-b"), "known")));

    // A delete without keys is the port's deletion.
    table.Apply(Properties(KCP_OP_DELETE, {{"vif-a", {}}}));
    EXPECT_EQ(Record(table.Dump(), "ports", "vif-a"), nullptr);
}

TEST(DpsimPortTable, ListMessagesReplaceTheirListAndSplitOnesAreJoinedFirst) {
    Table table;
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-x", {{101, Text("true")}}}}));
    table.Apply(List(KCP_PORT_LIST_UPDATE, {"vif-a", "vif-b"}));
    table.Apply(List(KCP_TAKNIC_LIST_UPDATE, {"tn0"}));
    JsonPtr dump = table.Dump();
    EXPECT_TRUE(cJSON_IsTrue(Item(Record(dump, "ports", "vif-a"), "listed")));
    EXPECT_FALSE(cJSON_IsTrue(Item(Record(dump, "ports", "vif-a"), "known")));
    EXPECT_FALSE(cJSON_IsTrue(Item(Record(dump, "ports", "vif-x"), "listed")));
    EXPECT_TRUE(cJSON_IsTrue(Item(Record(dump, "taknics", "tn0"), "listed")));

    table.Apply(List(KCP_PORT_LIST_UPDATE, {"vif-c"}, true));
    // Nothing of a sequence applies before its last part.
    EXPECT_NE(Record(table.Dump(), "ports", "vif-a"), nullptr);
    table.Apply(List(KCP_CONTAINER_LIST_UPDATE, {"cif-1"}));
    table.Apply(List(KCP_PORT_LIST_UPDATE, {"vif-d"}));
    dump = table.Dump();
    EXPECT_EQ(Record(dump, "ports", "vif-a"), nullptr);
    EXPECT_EQ(Record(dump, "ports", "vif-b"), nullptr);
    for (const char* listed : {"vif-c", "vif-d", "cif-1"}) {
        EXPECT_TRUE(cJSON_IsTrue(Item(Record(dump, "ports", listed), "listed"))) << listed;
    }
    // An empty list is a list too.
    table.Apply(List(KCP_PORT_LIST_UPDATE, {}));
    EXPECT_EQ(Record(table.Dump(), "ports", "vif-c"), nullptr);
}

TEST(DpsimPortTable, PiecesOfOneValueAreJoinedByKeyAcrossTheSequence) {
    Table table;
    const Bytes whole = Text(std::string(30, 'x') + std::string(30, 'y') + std::string(9, 'z'));
    const std::vector<Bytes> slices = {Bytes(whole.begin(), whole.begin() + 30),
                                       Bytes(whole.begin() + 30, whole.begin() + 60),
                                       Bytes(whole.begin() + 60, whole.end())};
    table.Apply(Properties(
        KCP_OP_FULL_SYNC, {{"vif-a", {{101, Text("false")}}}, {"vif-b", {{21, slices[0]}}}}, true));
    table.Apply(Properties(KCP_OP_FULL_SYNC, {{"vif-b", {{21, slices[1]}}}}, true));
    EXPECT_EQ(Record(table.Dump(), "ports", "vif-b"), nullptr);
    table.Apply(Properties(KCP_OP_FULL_SYNC, {{"vif-b", {{21, slices[2]}}}}));
    const JsonPtr dump = table.Dump();
    EXPECT_EQ(Field(Property(dump, "ports", "vif-b", 21), "text"),
              std::string(whole.begin(), whole.end() - 1));
    EXPECT_TRUE(cJSON_IsFalse(Item(Record(dump, "ports", "vif-a"), "blocked")));
}

TEST(DpsimPortTable, HostSwitchesTaknicsAndContainersAreKept) {
    Table table;
    Message hds;
    ASSERT_TRUE(KcpHdsUpdateCodec::BuildMessage(
        {{"hds-1", KCP_OP_UPDATE, {{1, Text("up")}, {10, Be32(2)}, {4, {1}}}}}, false, hds));
    table.Apply(hds);
    table.Apply(List(KCP_HDS_LIST_UPDATE, {"hds-1"}));
    table.Apply(
        Properties(KCP_OP_UPDATE, {{"tn0", {{1, Be32(77)}}}}, false, KCP_TAKNIC_PROPERTY_UPDATE));
    Message part;
    ASSERT_TRUE(KcpPortContainerListCodec::BuildMessage({"vif-a", {"cif-1"}}, true, part));
    table.Apply(part);
    ASSERT_TRUE(KcpPortContainerListCodec::BuildMessage({"vif-a", {"cif-2"}}, false, part));
    table.Apply(part);
    KcpContainerRecord container{"cif-1", "port-c", "vm-port", "vif-a", 10, {0, 1, 2, 3, 4, 5}, {}};
    container.entries.push_back({true, {10, 0, 0, 9}, {0, 1, 2, 3, 4, 6}});
    Message containers;
    ASSERT_TRUE(KcpContainerUpdateCodec::BuildMessage({container}, false, containers));
    table.Apply(containers);

    const JsonPtr dump = table.Dump();
    EXPECT_EQ(Field(Property(dump, "hds", "hds-1", 1), "text"), "up");
    EXPECT_EQ(Item(Property(dump, "hds", "hds-1", 10), "number")->valuedouble, 2);
    EXPECT_EQ(Item(Property(dump, "hds", "hds-1", 4), "number")->valuedouble, 1);
    EXPECT_TRUE(cJSON_IsTrue(Item(Record(dump, "hds", "hds-1"), "listed")));
    EXPECT_EQ(Item(Property(dump, "taknics", "tn0", 1), "number")->valuedouble, 77);
    const cJSON* list = Item(Item(dump.get(), "portContainers"), "vif-a");
    ASSERT_EQ(Size(list), 2);
    EXPECT_STREQ(cJSON_GetArrayItem(list, 1)->valuestring, "cif-2");
    const cJSON* cif = Item(Item(dump.get(), "containers"), "cif-1");
    EXPECT_EQ(Field(cif, "vmVifId"), "vif-a");
    EXPECT_EQ(Field(cif, "mac"), "00:01:02:03:04:05");
    EXPECT_EQ(Field(cJSON_GetArrayItem(Item(cif, "entries"), 0), "ip"), "10.0.0.9");
}

// Sets the 16-bit length fields of a message and its one data TLV.
void FixLengths(Message& message, size_t dataLength) {
    BigEndian::Put16(message.data() + 2, static_cast<uint16_t>(message.size()));
    BigEndian::Put16(message.data() + 7, static_cast<uint16_t>(dataLength));
}

TEST(DpsimPortTable, MalformedUpdatesAreRefusedWithTheirReasonAndChangeNothing) {
    Table table;
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-a", {{101, Text("true")}}}}));
    table.Apply(List(KCP_PORT_LIST_UPDATE, {"vif-a"}));

    Message trailing = List(KCP_PORT_LIST_UPDATE, {"vif-b"});
    trailing.insert(trailing.end(), {1, 2, 3});
    FixLengths(trailing, trailing.size() - 5 - 3);
    EXPECT_NE(table.Refuse(trailing).find("3 bytes after the last data TLV"), std::string::npos);
    FixLengths(trailing, trailing.size() - 5);
    EXPECT_NE(table.Refuse(trailing).find("no whole number of 48-byte IDs"), std::string::npos);

    Message badOperation = Properties(7, {{"vif-a", {}}});
    EXPECT_NE(table.Refuse(badOperation).find("invalid operation 7"), std::string::npos);

    Message shortRecord = Properties(KCP_OP_UPDATE, {{"vif-a", {{101, Text("false")}}}});
    shortRecord.push_back(0);
    FixLengths(shortRecord, shortRecord.size() - 5);
    EXPECT_NE(table.Refuse(shortRecord).find("1 bytes after the last record"), std::string::npos);

    Message property = Properties(KCP_OP_UPDATE, {{"vif-a", {{101, Text("false")}}}});
    BigEndian::Put16(property.data() + 10 + 50 + 2, 4 + 7);  // the TLV claims one byte too many
    EXPECT_NE(table.Refuse(property).find("after the last property TLV"), std::string::npos);

    Message vif;
    ASSERT_TRUE(KcpVifUpdateCodec::BuildMessage({KCP_OP_UPDATE, {{}}}, false, vif));
    EXPECT_NE(table.Refuse(vif).find("VIF Update is sent by the kernel only"), std::string::npos);

    Message unknown;
    ASSERT_TRUE(KcpUpdateCodec::Build({false, {{42, {1}}}}, unknown));
    EXPECT_NE(table.Refuse(unknown).find("unknown update data type 42"), std::string::npos);

    Message empty;
    ASSERT_TRUE(KcpUpdateCodec::Build({false, {}}, empty));
    EXPECT_NE(table.Refuse(empty).find("without a data TLV"), std::string::npos);

    Message flags = List(KCP_PORT_LIST_UPDATE, {"vif-b"});
    flags[4] = 0x01;
    EXPECT_NE(table.Refuse(flags).find("flag bits"), std::string::npos);

    Message noId = List(KCP_PORT_LIST_UPDATE, {""});
    EXPECT_NE(table.Refuse(noId).find("empty ID"), std::string::npos);
}

TEST(DpsimPortTable, BadPartDropsItsSplitSequence) {
    Table table;
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-a", {{21, Text("ab")}}}}, true));
    const std::string error =
        table.Refuse(Properties(KCP_OP_FULL_SYNC, {{"vif-a", {{21, Text("cd")}}}}, true));
    EXPECT_NE(error.find("operation changes from 1 to 3"), std::string::npos);
    // The part before the fault is gone: a new last part stands alone.
    table.Apply(Properties(KCP_OP_UPDATE, {{"vif-a", {{21, Text("ef")}}}}));
    EXPECT_EQ(Field(Property(table.Dump(), "ports", "vif-a", 21), "text"), "ef");
}

// The agent joins a split VIF Update from the first part's 223 bytes and the
// values of every part's first property; so must the simulator's pieces.
TEST(DpsimKernel, SplitVifReportJoinsBackIntoTheWholeBindings) {
    KcpVifRecord record;
    record.vifId = "vif-c";
    record.portId = "port-c";
    record.switchId = "switch-1";
    record.parentVifId = "vif-p";
    record.vifType = KCP_VIF_CONTAINER;
    for (uint8_t i = 0; i < 5; ++i) {
        KcpDiscoveredBinding binding;
        binding.ip = {10, 0, 0, i};
        binding.mac = {2, 0, 0, 0, 0, i};
        binding.vlan = 100 + i;
        binding.method = 8;
        binding.timestamp = 1000 + i;
        record.bindings.push_back(binding);
    }
    std::vector<Message> pieces;
    std::string error;
    ASSERT_TRUE(Dpsim::KcpKernel::VifConnect(record, 4, pieces, error)) << error;
    ASSERT_EQ(pieces.size(), 4u);

    constexpr size_t kHead = 223;
    Message joined(pieces[0].begin(), pieces[0].begin() + kHead + 4);
    for (size_t i = 0; i < pieces.size(); ++i) {
        EXPECT_EQ((pieces[i][4] & KCP_UPDATE_MORE) != 0, i + 1 < pieces.size()) << i;
        EXPECT_EQ(BigEndian::Get16(pieces[i].data() + 2), pieces[i].size());
        EXPECT_EQ(BigEndian::Get16(pieces[i].data() + kHead), KCP_VIF_DISCOVERED_BINDINGS);
        joined.insert(joined.end(), pieces[i].begin() + kHead + 4, pieces[i].end());
    }
    const size_t size = joined.size();
    BigEndian::Put16(joined.data() + 2, static_cast<uint16_t>(size));
    BigEndian::Put16(joined.data() + 7, static_cast<uint16_t>(size - 5));
    BigEndian::Put16(joined.data() + 10 + 211, static_cast<uint16_t>(size - 10));
    BigEndian::Put16(joined.data() + kHead + 2, static_cast<uint16_t>(size - kHead));
    joined[4] = 0;
    KcpUpdate update;
    KcpVifUpdate vifs;
    ASSERT_TRUE(KcpUpdateCodec::Read(joined, update));
    ASSERT_TRUE(KcpVifUpdateCodec::Decode(update.data.at(0).value, vifs));
    ASSERT_EQ(vifs.records.size(), 1u);
    EXPECT_EQ(vifs.records[0].bindings, record.bindings);
    EXPECT_EQ(vifs.records[0].parentVifId, "vif-p");
    EXPECT_EQ(vifs.records[0].vifType, KCP_VIF_CONTAINER);

    EXPECT_FALSE(Dpsim::KcpKernel::VifConnect(record, 5 * 34 + 1, pieces, error));
    KcpVifRecord bare;
    bare.vifId = "vif-d";
    EXPECT_FALSE(Dpsim::KcpKernel::VifConnect(bare, 2, pieces, error));
}

}  // namespace
