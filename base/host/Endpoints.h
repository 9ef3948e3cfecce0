#pragma once

#include <string>

namespace CfgAgent {

// TCP endpoints the agent serves or dials. Each default can be replaced by an
// environment variable so that several agents and stores share one machine.
class Endpoints {
public:
    static constexpr const char* kHealthVariable = "ZEF_HEALTH_ENDPOINT";
    static constexpr const char* kHealthDefault = "tcp://127.0.0.1:4097";
    static constexpr const char* kLoftdbVariable = "ZEF_LOFTDB_ENDPOINT";
    static constexpr const char* kLoftdbDefault = "tcp://127.0.0.1:2480";
    static constexpr const char* kProxyVariable = "ZEF_PROXY_ENDPOINT";
    static constexpr const char* kProxyDefault = "tcp://127.0.0.1:4096";

    static std::string Health() { return Lookup(kHealthVariable, kHealthDefault); }
    static std::string Loftdb() { return Lookup(kLoftdbVariable, kLoftdbDefault); }
    static std::string Proxy() { return Lookup(kProxyVariable, kProxyDefault); }

private:
    static std::string Lookup(const char* variable, const char* fallback);
};

}  // namespace CfgAgent
