#include "port/kcp/KcpPortContainerListCodec.h"

#include "dplink/FixedText.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"

namespace CfgAgent {

bool KcpPortContainerListCodec::BuildMessage(const KcpPortContainerList& list, bool more,
                                             std::vector<uint8_t>& message) {
    const size_t valueSize = KCP_VIF_ID_LEN * (1 + list.containerVifIds.size());
    if (!KcpUpdateCodec::Begin(message, KCP_PORT_CONTAINER_LIST_UPDATE, valueSize, more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    FixedText::Write(at, KCP_VIF_ID_LEN, list.vifId);
    for (const std::string& id : list.containerVifIds) {
        at += KCP_VIF_ID_LEN;
        FixedText::Write(at, KCP_VIF_ID_LEN, id);
    }
    return true;
}

bool KcpPortContainerListCodec::Decode(std::span<const uint8_t> value, KcpPortContainerList& list) {
    if (value.size() < KCP_VIF_ID_LEN) {
        return false;
    }
    list = KcpPortContainerList{};
    list.vifId = FixedText::Read(value.data(), KCP_VIF_ID_LEN);
    KcpRecordRow row(value, kContainers);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        list.containerVifIds.push_back(FixedText::Read(record->bytes.data(), KCP_VIF_ID_LEN));
    }
    return true;
}

}  // namespace CfgAgent
