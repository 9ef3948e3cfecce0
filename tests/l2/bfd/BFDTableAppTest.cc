#include "l2/bfd/BFDTableApp.h"

#include <gtest/gtest.h>

#include <boost/property_tree/ptree.hpp>
#include <mutex>

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "frame/AgentLock.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/Uuid.h"
#include "l2/app/L2App.h"
#include "l2/app/RecordingLink.h"
#include "l2/codec/VxlanBfdUpdateCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "log/LogLevel.h"
#include "loftdb_common.pb.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_switching.pb.h"
#include "store/MsgDispatcher.h"

namespace L2Test {
namespace {

using namespace CfgAgent;
namespace lb = halden::zef::loftdb;
using Bytes = std::vector<uint8_t>;

constexpr uint32_t kInstance = 7;

std::string Id(uint64_t left) {
    lb::UuidMsg uuid;
    uuid.set_left(left);
    uuid.set_right(1);
    return uuid.SerializeAsString();
}

const std::string kSwitch = Id(1);
constexpr uint32_t kVni = 5001;

std::string StoredVtep(uint32_t label, uint32_t ip) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(label);
    vtep.set_vtep_ip(ip);
    vtep.set_encap_type(4);
    return vtep.SerializeAsString();
}

VxlanVtepEntry KernelVtep(uint32_t label, uint32_t ip, bool ipv6 = false) {
    VxlanVtepEntry vtep;
    vtep.vtepLabel = label;
    vtep.vtepIp = ipv6 ? 0 : ip;
    vtep.addressType = ipv6 ? VXLAN_ADDR_IPV6 : VXLAN_ADDR_IPV4;
    if (ipv6) {
        vtep.vtepIpv6[0] = 0xfd;
        vtep.vtepIpv6[15] = static_cast<uint8_t>(ip);
    }
    return vtep;
}

class BFDTableAppTest : public ::testing::Test {
protected:
    void SetUp() override {
        _console = LogLevel::console.exchange(0);
        _l2App->Init({}, [this](DataplaneLink::DataCallback data, DataplaneLink::StatusCallback status) {
            _link = new RecordingLink(std::move(data), std::move(status));
            return zef::RefPtr<DataplaneLink>(_link);
        });
        _bfd->Start();
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        lb::LogSwitchConfigMsg config;
        config.set_vni(kVni);
        _configTable->UpdateDesiredState({LoftDBUpdateMsg(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, 0, {}),
                                          LoftDBUpdateMsg(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_VNI,
                                                          config.SerializeAsString())},
                                         true);
        _l2Table->UpdateDesiredState({LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, 0, {})}, true);
    }
    void TearDown() override {
        _bfd->Stop();
        _l2App->Stop();
        LogLevel::console.store(_console);
    }

    void Kernel(const Bytes& message) { _l2App->OnData(message.data(), static_cast<int>(message.size())); }
    uint32_t OpenedSession() const {
        for (auto it = _link->sent.rbegin(); it != _link->sent.rend(); ++it) {
            VxlanSession session;
            if (VxlanControlCodec::ReadSession(*it, session).empty() && session.controlType == VXLAN_SESSION_OPEN) {
                return session.sessionId;
            }
        }
        return 0;
    }
    void Session() {
        _l2App->OnLinkStatus(_link, DataplaneLink::LINK_UP);
        Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, OpenedSession()}));
        Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_FULL_SYNC_END, OpenedSession()}));
        Kernel(VxlanControlCodec::BuildVniMembership({kInstance, kVni, VXLAN_JOIN}));
    }
    void RemoteVtep(uint32_t label, uint32_t ip, uint32_t op = OP_UPDATE) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _l2Table->UpdateDesiredState(
            {LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, op, L2_VTEP, StoredVtep(label, ip))}, false);
    }
    // The kernel reports the host's own VTEP of the VNI.
    void LocalVtep(const VxlanVtepEntry& vtep, bool removed = false) {
        VxlanVtepUpdate update{kInstance, kVni, {}, {}};
        (removed ? update.removed : update.added).push_back(vtep);
        Bytes tlv;
        ASSERT_TRUE(VxlanVtepUpdateCodec::Build(update, tlv));
        Bytes message;
        ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, message));
        Kernel(message);
    }
    // The BFD session updates sent since `from`.
    std::vector<VxlanBfdUpdate> SessionsSentFrom(size_t from) const {
        std::vector<VxlanBfdUpdate> updates;
        for (size_t i = from; i < _link->sent.size(); ++i) {
            std::vector<Tlv> row;
            if (VxlanUpdateCodec::Read(_link->sent[i], row).empty()) {
                for (const Tlv& data : row) {
                    VxlanBfdUpdate update;
                    if (data.Type() == VXLAN_DATATYPE_BFD_SESSION && VxlanBfdUpdateCodec::Read(data, update).empty()) {
                        updates.push_back(update);
                    }
                }
            }
        }
        return updates;
    }

    int _console = 0;
    zef::RefPtr<StateCacheConfigTable> _configTable = zef::MakeRef<StateCacheConfigTable>();
    zef::RefPtr<StateCacheL2Table> _l2Table = zef::MakeRef<StateCacheL2Table>();
    zef::RefPtr<MsgDispatcher> _dispatcher =
        zef::MakeRef<MsgDispatcher>(std::make_shared<UpdateQueue>(UpdateQueue::kNoLimit, true, true));
    zef::RefPtr<L2App> _l2App = zef::MakeRef<L2App>(_configTable, _l2Table, _dispatcher);
    zef::RefPtr<BFDTableApp> _bfd = zef::MakeRef<BFDTableApp>(_configTable, _l2Table, _l2App, _dispatcher);
    RecordingLink* _link = nullptr;
};

TEST_F(BFDTableAppTest, ARemoteTepWaitsForTheLocalOneAndTheSessionGoesWithIt) {
    Session();
    RemoteVtep(21, 0x0A000002);
    const size_t before = _link->sent.size();
    EXPECT_TRUE(SessionsSentFrom(0).empty()) << "no local TEP yet";

    LocalVtep(KernelVtep(11, 0x0A000001));
    std::vector<VxlanBfdUpdate> sent = SessionsSentFrom(before);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].switchId, kInstance);
    ASSERT_EQ(sent[0].added.size(), 1u);
    const VxlanBfdEntry& session = sent[0].added[0];
    EXPECT_EQ(session.vni, kVni);
    EXPECT_EQ(session.family, 0);
    EXPECT_EQ((std::vector<uint8_t>(session.localVtep.begin(), session.localVtep.begin() + 4)),
              (std::vector<uint8_t>{10, 0, 0, 1}));
    EXPECT_EQ((std::vector<uint8_t>(session.remoteVtep.begin(), session.remoteVtep.begin() + 4)),
              (std::vector<uint8_t>{10, 0, 0, 2}));
    EXPECT_EQ(_bfd->Table().Entries().size(), 1u);

    // The kernel's next session, whose report holds the local TEP again,
    // hears of the session at its full sync end.
    const size_t resync = _link->sent.size();
    Kernel(VxlanControlCodec::BuildStateReport(true));
    Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, OpenedSession()}));
    Kernel(VxlanControlCodec::BuildVniMembership({kInstance, kVni, VXLAN_JOIN}));
    LocalVtep(KernelVtep(11, 0x0A000001));
    EXPECT_TRUE(SessionsSentFrom(resync).empty());
    Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_FULL_SYNC_END, OpenedSession()}));
    sent = SessionsSentFrom(resync);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].added.size(), 1u);

    const size_t removal = _link->sent.size();
    RemoteVtep(21, 0x0A000002, OP_DELETE);
    sent = SessionsSentFrom(removal);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].removed.size(), 1u);
    EXPECT_TRUE(_bfd->Table().Entries().empty());
}

TEST_F(BFDTableAppTest, MixedFamiliesAndTheGlobalRoutingDomainMakeNoSession) {
    Session();
    RemoteVtep(21, 0x0A000002);
    LocalVtep(KernelVtep(11, 1, true));
    EXPECT_TRUE(SessionsSentFrom(0).empty());
    EXPECT_TRUE(_bfd->Table().Entries().empty());

    // The host's VTEP in the global routing domain.
    VxlanRdVtepUpdate global{VxlanUuid{}, kInstance, 1, {}, {KernelVtep(12, 0x0A000003)}};
    Bytes tlv;
    ASSERT_TRUE(VxlanRdVtepUpdateCodec::Build(global, tlv));
    Bytes message;
    ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, message));
    Kernel(message);
    {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _l2Table->UpdateDesiredState({LoftDBUpdateMsg(ROUTING_DOMAIN_FIB, Uuid().Serialized(), OP_UPDATE, 0, {}),
                                      LoftDBUpdateMsg(ROUTING_DOMAIN_FIB, Uuid().Serialized(), OP_UPDATE, L2_VTEP,
                                                      StoredVtep(22, 0x0A000004))},
                                     false);
    }
    EXPECT_TRUE(SessionsSentFrom(0).empty());
    EXPECT_TRUE(_bfd->Table().Entries().empty());
}

}  // namespace
}  // namespace L2Test
