#include "KcpKernel.h"

#include "port/KcpNotificationCodec.h"
#include "port/KcpQueryCodec.h"
#include "port/KcpSessionCodec.h"
#include "port/KcpTypes.h"

namespace Dpsim {

using namespace CfgAgent;

std::vector<KcpKernel::Message> KcpKernel::Answer(std::span<const uint8_t> message) {
    std::vector<Message> answers;
    KcpSessionControl control;
    if (KcpSessionCodec::Read(message, control)) {
        // No VIFs to report yet, so the full sync ends at once.
        if (control.controlType == KCP_SESSION_OPEN) {
            answers.push_back(KcpSessionCodec::Build(KCP_SESSION_OPEN_ACK, control.sessionId));
            answers.push_back(KcpSessionCodec::Build(KCP_SESSION_FULL_SYNC_END, control.sessionId));
        }
        return answers;
    }
    std::vector<uint16_t> dataTypes;
    if (KcpQueryCodec::Read(message, dataTypes)) {
        for (uint16_t type : dataTypes) {
            if (type != KCP_QUERY_DP_STATUS) {
                continue;
            }
            Message status;
            KcpNotification notification;
            notification.type = KCP_NOTIFY_DP_STATUS;
            notification.dpStatus = 0;
            if (KcpNotificationCodec::Build({notification}, status)) {
                answers.push_back(std::move(status));
            }
        }
    }
    return answers;
}

}  // namespace Dpsim
