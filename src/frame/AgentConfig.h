#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <string>

#include "frame/AgentSettings.h"

namespace CfgAgent {

// The process-wide configuration: read once at start, then read-only.
class AgentConfig {
public:
    static constexpr const char* kDefaultDirectory = "/etc/halden/zef/";
    static constexpr const char* kDefaultName = "zef-cfgagent";
    static constexpr const char* kDefaultExtension = ".xml";

    static std::string DefaultPath();

    // Reads the XML file, comments dropped and white space trimmed; false on a
    // read or parse error, with the tree left as it was.
    static bool Load(const std::string& path);
    static const boost::property_tree::ptree& Tree();
    static const AgentSettings& Settings();
};

}  // namespace CfgAgent
