#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "port/conversion/DPUpdate.h"
#include "port/kcp/KcpContainerRecord.h"
#include "port/kcp/KcpPropertyUpdate.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"

namespace CfgAgent {

class IConfigApp;

// The codec's record already holds every field a container update carries.
using ContainerInfo = KcpContainerRecord;

// Turns the converters' updates into KCP Update messages no longer than the
// link's buffer, cutting lists, records and values where they must be cut,
// and sends them all through one door.
class KCPMsgConvertor : public zef::RefCounted<KCPMsgConvertor, zef::IRefCountable> {
public:
    // Records of one property message, and the size of one piece of a cut value.
    static constexpr size_t kRecordBudget = 10230;
    static constexpr size_t kPieceBudget = 10226;
    static constexpr size_t kMaxGlobalTlv = 10164;
    static constexpr size_t kGlobalPiece = 10160;
    static constexpr size_t kListBudget = 10231;
    static constexpr size_t kLinkBuffer = 10240;
    // What the container packing counts before the first record.
    static constexpr size_t kContainerTotalStart = 4;

    explicit KCPMsgConvertor(IConfigApp& owner) : _owner(owner) {}
    ~KCPMsgConvertor() override = default;

    virtual bool SendMsg(std::span<const uint8_t> message);

    bool SendPropertyUpdate(const DPUpdate& update);
    bool SendGlobalProperties(uint8_t operation, const std::vector<DPGlobalProperty>& list);
    bool SendLists(const std::vector<std::string>& containers, const std::vector<std::string>& ports,
                   const std::vector<std::string>& taknics);
    bool SendHDSList(const std::vector<std::string>& ids);
    bool SendPortContainerList(const std::string& vifId,
                               const std::vector<std::string>& containers);
    // False when a record fits no message; it is left out and the rest go.
    bool SendContainerUpdate(std::vector<ContainerInfo> containers);
    bool SendEmptyList(uint16_t dataType);

    // The property messages an update becomes, as the batches of records
    // each message carries; exposed for the cutting rules' tests.
    static std::vector<KcpPropertyUpdate> CutPropertyUpdate(const DPUpdate& update);
    static uint8_t OperationByte(uint32_t operation);

private:
    bool SendIdList(uint16_t dataType, const std::vector<std::string>& ids);

    IConfigApp& _owner;
};

}  // namespace CfgAgent
