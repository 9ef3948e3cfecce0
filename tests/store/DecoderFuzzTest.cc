// Whatever bytes the store sends, decoding ends, and what it yields is made
// of the operations the tables know.

#include <google/protobuf/stubs/logging.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "DecoderTestSupport.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "store/Decoder.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"

namespace StoreTest {
namespace {

using CfgAgent::Decoder;
using DecodeFn = LoftDBUpdateList (*)(const lb::MonitorUpdateMsg&);

const std::vector<DecodeFn>& EveryDecoder() {
    static const std::vector<DecodeFn> decoders = {
        &Decoder::DecodeLogSwitchConfig, &Decoder::DecodeLogSwitchPortConfig,
        &Decoder::DecodeTransportNodeConfig, &Decoder::DecodeBridgeClusterConfig,
        &Decoder::DecodePortMirrorSession, &Decoder::DecodeIpfixConfiguration, &Decoder::DecodeProfile,
        &Decoder::DecodeLogRouterConfig, &Decoder::DecodeLogRouterPortConfig, &Decoder::DecodePrefixList,
        &Decoder::DecodeMulticastConfig, &Decoder::DecodeNdraProfileConfig, &Decoder::DecodeDadProfileConfig,
        &Decoder::DecodeLogRouterPortFibDadState, &Decoder::DecodeLogRouterPortDadRequest,
        &Decoder::DecodeMulticastStaticRoute, &Decoder::DecodeNsgMemberShipStatus,
        &Decoder::DecodeHostSwitchSmartnicBacking, &Decoder::DecodeFltClusterHostConfig,
        &Decoder::DecodeSecurityFeatureToggle, &Decoder::DecodeVtepGroup, &Decoder::DecodeGlobalConfig,
        &Decoder::DecodeCcpSession, &Decoder::DecodeCradleVIFConfig, &Decoder::DecodeSiRedirectionPolicy,
        &Decoder::DecodeSiServiceChain, &Decoder::DecodeSiServicePath, &Decoder::DecodeBfdGlobalConfig,
        &Decoder::DecodeCradleGlobalConfig, &Decoder::DecodeBarrier, &Decoder::DecodeDFWRule,
        &Decoder::DecodeDFWRuleSection, &Decoder::DecodeDFWContainer, &Decoder::DecodeDFWContextProfile,
        &Decoder::DecodeIdsSignatures, &Decoder::DecodeDFWConfigSpan, &Decoder::DecodeDFWIpReputationConfig,
        &Decoder::DecodeLbService, &Decoder::DecodeLbVirtualServer, &Decoder::DecodeLbPool,
        &Decoder::DecodeLbApplicationProfile, &Decoder::DecodeLbPersistenceProfile, &Decoder::DecodeDaVifMsg,
        &Decoder::DecodeEntityGroupRelation, &Decoder::DecodeEntityGroupRelationObject,
        &Decoder::DecodeLogSwitchFib, &Decoder::DecodeRoutingDomainFib, &Decoder::DecodeFib,
        &Decoder::DecodeArpTableConfig, &Decoder::Decode,
    };
    return decoders;
}

class DecoderFuzzTest : public ::testing::Test {
protected:
    std::string RandomBytes(size_t maxLength) {
        std::uniform_int_distribution<size_t> length(0, maxLength);
        std::uniform_int_distribution<int> byte(0, 255);
        std::string bytes(length(_random), '\0');
        for (char& c : bytes) {
            c = static_cast<char>(byte(_random));
        }
        return bytes;
    }

    // A valid body with a few bytes changed reaches further than pure noise.
    std::string Damaged(std::string bytes) {
        if (bytes.empty()) {
            return bytes;
        }
        std::uniform_int_distribution<size_t> at(0, bytes.size() - 1);
        std::uniform_int_distribution<int> byte(0, 255);
        for (int i = 0; i < 3; ++i) {
            bytes[at(_random)] = static_cast<char>(byte(_random));
        }
        return bytes;
    }

    static void CheckRecords(const LoftDBUpdateList& records) {
        for (const LoftDBUpdateMsg& record : records) {
            EXPECT_GE(record.operation, CfgAgent::OP_UPDATE);
            EXPECT_LE(record.operation, CfgAgent::OP_REMOVE);
        }
    }

    std::mt19937 _random{20261122};
};

TEST_F(DecoderFuzzTest, NoiseNeverBreaksADecoder) {
    // Every line is built too: texts of broken messages must not break logging.
    LogCapture log;
    google::protobuf::LogSilencer noParserComplaints;
    for (int round = 0; round < 40; ++round) {
        lb::MonitorUpdateMsg update;
        update.set_object_body(RandomBytes(48));
        update.set_op_body(RandomBytes(48));
        if (round % 2 == 0) {
            update.set_old_object_body(RandomBytes(48));
        }
        for (DecodeFn decode : EveryDecoder()) {
            CheckRecords(decode(update));
        }
    }
}

TEST_F(DecoderFuzzTest, DamagedUpdatesNeverBreakADecoder) {
    LogCapture log;
    google::protobuf::LogSilencer noParserComplaints;
    std::vector<lb::MonitorUpdateMsg> updates;
    for (const zef::loftdb::ObjectTypeInfo& info : zef::loftdb::kObjectTypes) {
        auto object = zef::loftdb::ObjectTypes::NewObject(info.code);
        ASSERT_NE(object, nullptr) << info.name;
        FillEveryField(*object);
        auto empty = zef::loftdb::ObjectTypes::NewObject(info.code);
        updates.push_back(Change(info.code, nullptr, object.get()));
        updates.push_back(Change(info.code, object.get(), empty.get()));
        updates.push_back(Change(info.code, object.get(), nullptr));
    }
    for (int round = 0; round < 2; ++round) {
        for (lb::MonitorUpdateMsg update : updates) {
            update.set_object_body(Damaged(update.object_body()));
            update.set_op_body(Damaged(update.op_body()));
            update.set_old_object_body(Damaged(update.old_object_body()));
            for (DecodeFn decode : EveryDecoder()) {
                CheckRecords(decode(update));
            }
        }
    }
}

}  // namespace
}  // namespace StoreTest
