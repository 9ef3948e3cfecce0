#pragma once

#include <string>

namespace CfgAgent {

// Every absolute host path the agent touches goes through here, so that a
// whole agent can run under a private root (tests side by side, no root
// privileges). The root comes from the environment variable ZEF_HOST_ROOT.
class HostPaths {
public:
    static constexpr const char* kRootVariable = "ZEF_HOST_ROOT";

    // The root prefix without a trailing slash; empty for the real host.
    static std::string Root();
    // `absolutePath` under the root; relative paths are left alone.
    static std::string Resolve(const std::string& absolutePath);
};

}  // namespace CfgAgent
