#include "port/ipdisc/IpDiscovery.h"

#include <gtest/gtest.h>

#include "port/FakeLoftdbClient.h"
#include "cache/StateCacheConfigTable.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_profile.pb.h"
#include "loftdb_switching.pb.h"
#include "port/ipdisc/IIpDiscoveryOwner.h"
#include "zef/upm/UPMService.h"

namespace PortTest {
namespace {

using namespace CfgAgent;
namespace lb = halden::zef::loftdb;

class NoOwner : public IIpDiscoveryOwner {
public:
    void OnIpDiscoveryReady(const LoftDBUpdateList&, bool) override {}
    bool PortOfVif(const std::string&, std::string&, std::string&) override { return false; }
};

class IpDiscoveryProfileTest : public ::testing::Test {
protected:
    void SetUp() override { _savedConsole = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console.store(_savedConsole); }

    // The port's stored property: `useProfile` absent, false or true.
    void StoreProperty(std::optional<bool> useProfile) {
        lb::LogSwitchPortConfigMsg port;
        port.mutable_ip_discovery()->set_arp_snooping_enabled(true);
        if (useProfile) {
            port.mutable_ip_discovery()->set_use_profile(*useProfile);
        }
        _table->UpdateDesiredState({LoftDBUpdateMsg(LOG_SWITCH_PORT_CONFIG, "port", OP_UPDATE, {}, {}),
                                    LoftDBUpdateMsg(LOG_SWITCH_PORT_CONFIG, "port", OP_UPDATE,
                                                    LSP_IP_DISCOVERY, port.SerializeAsString())},
                                   false);
    }
    static std::string Profile() {
        lb::ProfileMsg profile;
        profile.set_profile_type(9);
        profile.mutable_ip_discovery()->set_dhcp_snooping_enabled(true);
        return profile.SerializeAsString();
    }
    // Which configuration counts when the profile's change comes in.
    uint32_t ChosenOnProfileChange(bool profilePresent) {
        lb::IpDiscoveryConfigMsg out;
        uint32_t source = 99;
        _discovery->SelectEffectiveProfile("port", IpDiscovery::SOURCE_PROFILE,
                                           profilePresent ? Profile() : std::string(), out, source);
        return source;
    }

    FakeLoftdbClient _store;
    NoOwner _owner;
    zef::RefPtr<StateCacheConfigTable> _table = zef::MakeRef<StateCacheConfigTable>();
    std::shared_ptr<zef::upm::UPMService> _upm = std::make_shared<zef::upm::UPMService>();
    zef::RefPtr<IpDiscovery> _discovery = zef::MakeRef<IpDiscovery>(*_table, _store, _owner, _upm);

private:
    int _savedConsole = 0;
};

TEST_F(IpDiscoveryProfileTest, TheProfileCountsOnlyWhenThePropertyAsksForItAndOneExists) {
    EXPECT_EQ(ChosenOnProfileChange(true), IpDiscovery::SOURCE_NONE) << "no property";
    StoreProperty(std::nullopt);
    EXPECT_EQ(ChosenOnProfileChange(true), IpDiscovery::SOURCE_PROPERTY) << "use_profile not set";
    StoreProperty(false);
    EXPECT_EQ(ChosenOnProfileChange(true), IpDiscovery::SOURCE_PROPERTY);
    StoreProperty(true);
    EXPECT_EQ(ChosenOnProfileChange(false), IpDiscovery::SOURCE_PROPERTY) << "no profile";
    EXPECT_EQ(ChosenOnProfileChange(true), IpDiscovery::SOURCE_PROFILE);
}

TEST_F(IpDiscoveryProfileTest, APropertyChangeReadsTheProfileFromTheProfileService) {
    lb::LogSwitchPortConfigMsg port;
    port.mutable_ip_discovery()->set_use_profile(true);
    lb::IpDiscoveryConfigMsg out;
    uint32_t source = 99;
    EXPECT_TRUE(_discovery->SelectEffectiveProfile("port", IpDiscovery::SOURCE_PROPERTY,
                                                   port.SerializeAsString(), out, source));
    EXPECT_EQ(source, IpDiscovery::SOURCE_PROPERTY);
    _upm->SetProfile("port", IpDiscovery::kIpDiscoveryProfileKind, Profile());
    EXPECT_TRUE(_discovery->SelectEffectiveProfile("port", IpDiscovery::SOURCE_PROPERTY,
                                                   port.SerializeAsString(), out, source));
    EXPECT_EQ(source, IpDiscovery::SOURCE_PROFILE);
    EXPECT_TRUE(out.dhcp_snooping_enabled());
}

}  // namespace
}  // namespace PortTest
