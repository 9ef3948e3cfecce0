#include "frame/AgentConfig.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include "host/HostPaths.h"

namespace CfgAgent {

namespace {

boost::property_tree::ptree& ProcessTree() {
    static boost::property_tree::ptree tree;
    return tree;
}

AgentSettings& ProcessSettings() {
    static AgentSettings settings;
    return settings;
}

}  // namespace

std::string AgentConfig::DefaultPath() {
    return HostPaths::Resolve(std::string(kDefaultDirectory) + kDefaultName + kDefaultExtension);
}

bool AgentConfig::Load(const std::string& path) {
    boost::property_tree::ptree tree;
    try {
        boost::property_tree::read_xml(path, tree,
                                       boost::property_tree::xml_parser::no_comments |
                                           boost::property_tree::xml_parser::trim_whitespace);
    } catch (const boost::property_tree::ptree_error&) {
        return false;
    }
    ProcessTree().swap(tree);
    ProcessSettings() = AgentSettings::Read(ProcessTree());
    return true;
}

const boost::property_tree::ptree& AgentConfig::Tree() { return ProcessTree(); }

const AgentSettings& AgentConfig::Settings() { return ProcessSettings(); }

}  // namespace CfgAgent
