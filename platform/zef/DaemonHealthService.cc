#include "zef/DaemonHealthService.h"

#include "health.pb.h"

namespace zef {

DaemonHealthService::DaemonHealthService(const halden::zef::ProductVersionMsg& version)
    : rpc::Service(kServiceName), _version(version) {
    using halden::zef::health::HealthRequestMsg;
    using halden::zef::health::HealthResponseMsg;
    AddMethod<HealthRequestMsg, HealthResponseMsg>(
        kGetHealth, [this](const HealthRequestMsg&, HealthResponseMsg& response) {
            response.set_status(HealthResponseMsg::HEALTHY);
            *response.mutable_version() = _version;
            response.set_uptime_seconds(static_cast<uint64_t>(
                std::chrono::duration_cast<std::chrono::seconds>(
                    std::chrono::steady_clock::now() - _born)
                    .count()));
            return true;
        });
}

}  // namespace zef
