#include "frame/ShaStatus.h"

#include "log/Logger.h"
#include "sha.pb.h"

namespace CfgAgent {

std::shared_ptr<halden::zef::sha::AgentsMetricsMsg> ShaStatus::CombinedMessage(bool storeConnected) {
    auto message = std::make_shared<halden::zef::sha::AgentsMetricsMsg>();
    auto* status = message->mutable_status_data();
    status->set_status(2);
    status->set_severity(1);
    auto* sub = status->add_sub_status();
    sub->set_name(kStoreConnectionName);
    sub->set_status(storeConnected ? 1 : 2);
    message->add_agent_ids(1);
    message->set_schema_version(3);
    CFG_LOG(LL_DEBUG, "ShaGetCombinedMessage: %1", message->ShortDebugString());
    return message;
}

}  // namespace CfgAgent
