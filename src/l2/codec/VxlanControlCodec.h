#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l2/codec/VxlanControllerIp.h"
#include "l2/codec/VxlanLinkChange.h"
#include "l2/codec/VxlanNotification.h"
#include "l2/codec/VxlanRdMembership.h"
#include "l2/codec/VxlanSession.h"
#include "l2/codec/VxlanSwitchFlag.h"
#include "l2/codec/VxlanVniMembership.h"

namespace CfgAgent {

// The messages of fixed layout, and the two small rows of the state check.
// Readers are strict: the bytes must be one whole message of the type, of
// exactly its length. They return empty when so, otherwise why not, and the
// value is then left unspecified.
class VxlanControlCodec {
public:
    static constexpr size_t kSessionLength = 13;
    static constexpr size_t kVniMembershipLength = 13;
    static constexpr size_t kLinkChangeHead = 9;
    static constexpr size_t kLinkEntrySize = 6;
    static constexpr size_t kRdMembershipLength = 26;
    static constexpr size_t kControllerIpLength = 36;
    static constexpr size_t kSwitchFlagLength = 9;
    static constexpr size_t kNotificationLength = 8;
    static constexpr size_t kStateQueryLength = 8;
    static constexpr size_t kStateReportLength = 9;

    static std::vector<uint8_t> BuildSession(const VxlanSession& session);
    static std::string ReadSession(std::span<const uint8_t> bytes, VxlanSession& session);
    // "Session Open", "Session Open ACK", "Session Full Sync End",
    // "Session Close"; null for any other control type.
    static const char* SessionName(uint8_t controlType);

    static std::vector<uint8_t> BuildVniMembership(const VxlanVniMembership& change);
    static std::string ReadVniMembership(std::span<const uint8_t> bytes,
                                         VxlanVniMembership& change);

    // False when the entries would pass 65535 bytes.
    static bool BuildLinkChange(const VxlanLinkChange& change, std::vector<uint8_t>& message);
    static std::string ReadLinkChange(std::span<const uint8_t> bytes, VxlanLinkChange& change);

    static std::vector<uint8_t> BuildRdMembership(const VxlanRdMembership& change);
    static std::string ReadRdMembership(std::span<const uint8_t> bytes,
                                        VxlanRdMembership& change);

    static std::vector<uint8_t> BuildControllerIp(const VxlanControllerIp& update);
    static std::string ReadControllerIp(std::span<const uint8_t> bytes,
                                        VxlanControllerIp& update);

    static std::vector<uint8_t> BuildInstanceChange(const VxlanSwitchFlag& change);
    static std::string ReadInstanceChange(std::span<const uint8_t> bytes,
                                          VxlanSwitchFlag& change);
    static std::vector<uint8_t> BuildGlobalReplication(const VxlanSwitchFlag& change);
    static std::string ReadGlobalReplication(std::span<const uint8_t> bytes,
                                             VxlanSwitchFlag& change);

    static std::vector<uint8_t> BuildNotification(const VxlanNotification& notification);
    static std::string ReadNotification(std::span<const uint8_t> bytes,
                                        VxlanNotification& notification);

    // The one OutOfSync Query the agent sends.
    static std::vector<uint8_t> BuildStateQuery();
    // Every TLV of the row must be an empty OutOfSync Query.
    static std::string ReadStateQuery(std::span<const uint8_t> bytes);
    static std::vector<uint8_t> BuildStateReport(bool outOfSync);
    // The row must hold OutOfSync Reports of one byte only; the last one counts.
    static std::string ReadStateReport(std::span<const uint8_t> bytes, bool& outOfSync);
};

}  // namespace CfgAgent
