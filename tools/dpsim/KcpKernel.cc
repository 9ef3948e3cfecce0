#include "KcpKernel.h"

#include "port/KcpNotificationCodec.h"
#include "port/KcpQueryCodec.h"
#include "port/KcpSessionCodec.h"
#include "port/KcpTypes.h"
#include "port/KcpVifUpdateCodec.h"

namespace Dpsim {

using namespace CfgAgent;

std::vector<KcpKernel::Message> KcpKernel::Answer(std::span<const uint8_t> message,
                                                  const std::vector<std::string>& connectedVifs) {
    std::vector<Message> answers;
    KcpSessionControl control;
    if (KcpSessionCodec::Read(message, control)) {
        if (control.controlType == KCP_SESSION_OPEN) {
            answers.push_back(KcpSessionCodec::Build(KCP_SESSION_OPEN_ACK, control.sessionId));
            // The agent only takes VIFs of the new session as its full report
            // when they come before the end.
            for (const std::string& vif : connectedVifs) {
                Message update;
                if (VifUpdate(vif, true, update)) {
                    answers.push_back(std::move(update));
                }
            }
            answers.push_back(KcpSessionCodec::Build(KCP_SESSION_FULL_SYNC_END, control.sessionId));
        }
        return answers;
    }
    std::vector<uint16_t> dataTypes;
    if (KcpQueryCodec::Read(message, dataTypes)) {
        for (uint16_t type : dataTypes) {
            if (type == KCP_QUERY_DP_STATUS) {
                answers.push_back(DpStatus(false));
            }
        }
    }
    return answers;
}

bool KcpKernel::VifUpdate(const std::string& vifId, bool connect, Message& message) {
    KcpVifRecord record;
    record.vifId = vifId;
    record.portId = vifId;
    record.vifType = KCP_VIF_VNIC;
    KcpVifUpdate update;
    // The agent reads a DELETE without properties as the disconnect.
    if (connect) {
        record.status = KCP_VIF_CONNECT;
        update.operation = KCP_OP_UPDATE;
    } else {
        update.operation = KCP_OP_DELETE;
    }
    update.records.push_back(std::move(record));
    return KcpVifUpdateCodec::BuildMessage(update, false, message);
}

KcpKernel::Message KcpKernel::DpStatus(bool outOfSync) {
    Message status;
    KcpNotification notification;
    notification.type = KCP_NOTIFY_DP_STATUS;
    notification.dpStatus = outOfSync ? KCP_DP_OUT_OF_SYNC : 0;
    KcpNotificationCodec::Build({notification}, status);
    return status;
}

}  // namespace Dpsim
