#pragma once

#include <cstdint>

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace halden::zef::loftdb {
class MonitorUpdateMsg;
}

namespace CfgAgent {

// Turns one monitor update of the store into update records: an object into
// its properties, a list into single entries, so that the caches work per
// property or entry and never compare whole objects. Stateless; every
// function works on the update alone and returns the records in order.
//
// Families: whole object (W), whole object with the old body on delete (O),
// per property (P), per entry (E), and the special cases in between.
class Decoder {
public:
    using Update = halden::zef::loftdb::MonitorUpdateMsg;

    // Per property (P).
    static LoftDBUpdateList DecodeLogSwitchConfig(const Update& update);
    static LoftDBUpdateList DecodeLogSwitchPortConfig(const Update& update);
    static LoftDBUpdateList DecodeTransportNodeConfig(const Update& update);
    static LoftDBUpdateList DecodeBridgeClusterConfig(const Update& update);
    static LoftDBUpdateList DecodePortMirrorSession(const Update& update);
    static LoftDBUpdateList DecodeIpfixConfiguration(const Update& update);
    // Per property, the profile's section chosen by its type.
    static LoftDBUpdateList DecodeProfile(const Update& update);

    // Whole object (W).
    static LoftDBUpdateList DecodeLogRouterConfig(const Update& update);
    static LoftDBUpdateList DecodeLogRouterPortConfig(const Update& update);
    static LoftDBUpdateList DecodePrefixList(const Update& update);
    static LoftDBUpdateList DecodeMulticastConfig(const Update& update);
    static LoftDBUpdateList DecodeNdraProfileConfig(const Update& update);
    static LoftDBUpdateList DecodeDadProfileConfig(const Update& update);
    static LoftDBUpdateList DecodeLogRouterPortFibDadState(const Update& update);
    static LoftDBUpdateList DecodeLogRouterPortDadRequest(const Update& update);
    static LoftDBUpdateList DecodeMulticastStaticRoute(const Update& update);
    static LoftDBUpdateList DecodeNsgMemberShipStatus(const Update& update);
    static LoftDBUpdateList DecodeHostSwitchSmartnicBacking(const Update& update);
    static LoftDBUpdateList DecodeFltClusterHostConfig(const Update& update);
    static LoftDBUpdateList DecodeSecurityFeatureToggle(const Update& update);
    static LoftDBUpdateList DecodeVtepGroup(const Update& update);
    static LoftDBUpdateList DecodeGlobalConfig(const Update& update);
    static LoftDBUpdateList DecodeCcpSession(const Update& update);
    static LoftDBUpdateList DecodeCradleVIFConfig(const Update& update);
    // Whole object; a delete carries the old body when the store sent one.
    static LoftDBUpdateList DecodeSiRedirectionPolicy(const Update& update);
    static LoftDBUpdateList DecodeSiServiceChain(const Update& update);
    static LoftDBUpdateList DecodeSiServicePath(const Update& update);

    // Always one update record, or only on SET.
    static LoftDBUpdateList DecodeBfdGlobalConfig(const Update& update);
    static LoftDBUpdateList DecodeCradleGlobalConfig(const Update& update);
    static LoftDBUpdateList DecodeBarrier(const Update& update);

    // Whole object with the old body on delete (O).
    static LoftDBUpdateList DecodeDFWRule(const Update& update);
    static LoftDBUpdateList DecodeDFWRuleSection(const Update& update);
    static LoftDBUpdateList DecodeDFWContainer(const Update& update);
    static LoftDBUpdateList DecodeDFWContextProfile(const Update& update);
    static LoftDBUpdateList DecodeIdsSignatures(const Update& update);
    static LoftDBUpdateList DecodeDFWConfigSpan(const Update& update);
    static LoftDBUpdateList DecodeDFWIpReputationConfig(const Update& update);
    static LoftDBUpdateList DecodeLbService(const Update& update);
    static LoftDBUpdateList DecodeLbVirtualServer(const Update& update);
    static LoftDBUpdateList DecodeLbPool(const Update& update);
    static LoftDBUpdateList DecodeLbApplicationProfile(const Update& update);
    static LoftDBUpdateList DecodeLbPersistenceProfile(const Update& update);

    // The addresses a guest reports for a VIF, keyed by the VIF id.
    static LoftDBUpdateList DecodeDaVifMsg(const Update& update);
    // ENTITY_GROUP_RELATION has two readings: one record per group joined or
    // left (for the config table, which turns them into container members),
    // and the whole relation as family O.
    static LoftDBUpdateList DecodeEntityGroupRelation(const Update& update);
    static LoftDBUpdateList DecodeEntityGroupRelationObject(const Update& update);

    // Per entry (E).
    static LoftDBUpdateList DecodeLogSwitchFib(const Update& update);
    static LoftDBUpdateList DecodeRoutingDomainFib(const Update& update);
    static LoftDBUpdateList DecodeFib(const Update& update);
    static LoftDBUpdateList DecodeArpTableConfig(const Update& update);

    // By the update's object type; ENTITY_GROUP_RELATION gets its group
    // reading. A type that has no decoder yields nothing.
    static LoftDBUpdateList Decode(const Update& update);
};

}  // namespace CfgAgent
