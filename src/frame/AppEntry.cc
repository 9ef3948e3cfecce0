#include "frame/AppEntry.h"

namespace CfgAgent {

std::vector<AppEntry> AppEntry::ReadAll(const boost::property_tree::ptree& apps) {
    std::vector<AppEntry> entries;
    for (const auto& [element, child] : apps) {
        if (element == "<xmlattr>") {
            continue;
        }
        AppEntry entry;
        entry.name = child.get<std::string>("name", "");
        entry.config = child.get_child("config");
        entry.enabled = child.get<bool>("enabled", false);
        entries.push_back(std::move(entry));
    }
    return entries;
}

}  // namespace CfgAgent
