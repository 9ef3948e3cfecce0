#pragma once

#include <chrono>
#include <string>

#include "product.pb.h"
#include "zef/rpc/Service.h"

namespace zef {

// Answers "GetHealth" on the daemon's health endpoint: alive, which version,
// and for how long.
class DaemonHealthService : public rpc::Service {
public:
    static constexpr const char* kServiceName = "zef.DaemonHealth";
    static constexpr const char* kGetHealth = "GetHealth";

    explicit DaemonHealthService(const halden::zef::ProductVersionMsg& version);

private:
    halden::zef::ProductVersionMsg _version;
    std::chrono::steady_clock::time_point _born = std::chrono::steady_clock::now();
};

}  // namespace zef
