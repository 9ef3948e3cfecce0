#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "loftdb_runtime.pb.h"
#include "loftdb_store.pb.h"
#include "dplink/DataplaneLink.h"
#include "port/ipdisc/IpDiscEntry.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace zef::upm {
class UPMService;
}
namespace halden::zef::loftdb {
class IpDiscoveryConfigMsg;
}

namespace CfgAgent {

class IIpDiscoveryOwner;
class ILoftdbClient;
class IStateCacheConfigTable;

// The addresses VIFs are found to use: discovered bindings from the kernel's
// VIF reports become runtime state, and the bindings a guest's tools report
// go to the kernel's switch security module over a link of their own.
class IpDiscovery : public zef::RefCounted<IpDiscovery, zef::IRefCountable> {
public:
    static constexpr const char* kDefaultLink = "swsec_taklink";
    static constexpr uint32_t kBufferSize = 4096;

    // Where a port's IP discovery configuration comes from.
    enum ProfileSource : uint32_t {
        SOURCE_NONE = 0,
        SOURCE_PROPERTY = 1,
        SOURCE_PROFILE = 2,
    };
    static constexpr uint32_t kIpDiscoveryProfileKind = 9;

    IpDiscovery(IStateCacheConfigTable& configTable, ILoftdbClient& loftdbClient,
                IIpDiscoveryOwner& owner, std::shared_ptr<zef::upm::UPMService> upm = nullptr);
    ~IpDiscovery() override;

    // Makes the link from the application's settings.
    void Init(const boost::property_tree::ptree& config);
    void Start();
    void Stop();

    // DA_VIF objects from the store.
    void UpdateDesiredState(const LoftDBUpdateList& objects, bool isFullSync);
    void ProcessIpDiscList(const std::vector<IpDiscEntry>& list, bool isVifFullSync);
    void ProcessVifUpdate(const LoftDBUpdateList& upds, bool isVifFullSync);

    // Of the port's property and its profile, the one that counts. `source`
    // names the one that changed and `message` holds it (a serialized
    // LogSwitchPortConfigMsg or ProfileMsg); the other is read. False when
    // neither counts.
    bool SelectEffectiveProfile(const std::string& portId, uint32_t source, const std::string& message,
                                halden::zef::loftdb::IpDiscoveryConfigMsg& out, uint32_t& outSource);
    static bool ChooseEffective(const halden::zef::loftdb::IpDiscoveryConfigMsg* property,
                                const halden::zef::loftdb::IpDiscoveryConfigMsg* profile,
                                halden::zef::loftdb::IpDiscoveryConfigMsg& out, uint32_t& outSource);

    // The stored source of a discovery method byte of the wire; 0 when unknown.
    static uint32_t StoredSource(uint8_t method);

private:
    void OnData(const unsigned char* message, int length);
    void OnStatus(DataplaneLink* link, DataplaneLink::LinkStatus status);
    void OnDaVifRead(bool ok, const std::vector<halden::zef::loftdb::TypedObjectMsg>& objects);
    void SendToolsBindings(const halden::zef::loftdb::DaVifMsg& daVif);
    void MergeWithToolsBindings(LoftDBUpdateList& result, bool isVifFullSync);
    LoftDBUpdateMsg BindingRecord(const IpDiscEntry& entry) const;

    IStateCacheConfigTable& _configTable;
    ILoftdbClient& _loftdbClient;
    IIpDiscoveryOwner& _owner;
    std::shared_ptr<zef::upm::UPMService> _upm;
    std::string _linkName = kDefaultLink;
    zef::RefPtr<DataplaneLink> _link;
    std::atomic<bool> _linkUp{false};
    // The DA_VIF objects of the store, by VIF ID.
    std::map<std::string, halden::zef::loftdb::DaVifMsg> _daVifs;
};

}  // namespace CfgAgent
