#include "port/conversion/PortList.h"

namespace CfgAgent {

bool PortList::Insert(const PortEntry& entry) {
    return _entries.insert(entry).second;
}

bool PortList::Erase(const std::string& vifId) {
    return _entries.get<ByVif>().erase(vifId) != 0;
}

const PortEntry* PortList::FindByVif(const std::string& vifId) const {
    const auto& index = _entries.get<ByVif>();
    auto it = index.find(vifId);
    return it == index.end() ? nullptr : &*it;
}

const PortEntry* PortList::FindByPort(const std::string& portId) const {
    const auto& index = _entries.get<ByPort>();
    auto it = index.find(portId);
    return it == index.end() ? nullptr : &*it;
}

std::vector<PortEntry> PortList::OfSwitch(const Uuid& lsId) const {
    if (lsId.IsNil()) {
        return {};  // ports whose switch is unknown belong to none
    }
    auto [first, last] = _entries.get<BySwitch>().equal_range(lsId);
    return {first, last};
}

std::vector<PortEntry> PortList::OfLogicalPort(const Uuid& lspId) const {
    if (lspId.IsNil()) {
        return {};
    }
    auto [first, last] = _entries.get<ByLogicalPort>().equal_range(lspId);
    return {first, last};
}

bool PortList::Modify(const std::string& vifId, const std::function<void(PortEntry&)>& change) {
    auto& index = _entries.get<ByVif>();
    auto it = index.find(vifId);
    return it != index.end() && index.modify(it, change);
}

void PortList::ForEach(const std::function<void(const PortEntry&)>& visit) const {
    for (const PortEntry& entry : _entries.get<ByVif>()) {
        visit(entry);
    }
}

std::vector<std::string> PortList::VifIds() const {
    std::vector<std::string> ids;
    for (const PortEntry& entry : _entries.get<ByVif>()) {
        ids.push_back(entry.vifId);
    }
    return ids;
}

}  // namespace CfgAgent
