#pragma once

#include <boost/property_tree/ptree.hpp>
#include <string>
#include <vector>

namespace CfgAgent {

// One child of config.cfgAgent.apps: which application, whether it runs, and
// its own settings, handed to it unread.
struct AppEntry {
    std::string name;
    bool enabled = false;
    boost::property_tree::ptree config;

    // In file order. The `config` subtree is mandatory and fetched before
    // `enabled` is looked at, so a disabled entry without one throws too.
    static std::vector<AppEntry> ReadAll(const boost::property_tree::ptree& apps);
};

}  // namespace CfgAgent
