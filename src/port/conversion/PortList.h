#pragma once

#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>
#include <functional>
#include <string>
#include <vector>

#include "port/conversion/PortEntry.h"

namespace CfgAgent {

// The connected ports: unique by VIF ID (the walk order) and by port ID,
// and grouped by logical switch.
class PortList {
public:
    // False when the VIF or the port is already listed.
    bool Insert(const PortEntry& entry);
    bool Erase(const std::string& vifId);
    const PortEntry* FindByVif(const std::string& vifId) const;
    const PortEntry* FindByPort(const std::string& portId) const;
    std::vector<PortEntry> OfSwitch(const Uuid& lsId) const;
    std::vector<PortEntry> OfLogicalPort(const Uuid& lspId) const;
    // Changes one entry in place; false when the VIF is not listed.
    bool Modify(const std::string& vifId, const std::function<void(PortEntry&)>& change);
    void ForEach(const std::function<void(const PortEntry&)>& visit) const;
    std::vector<std::string> VifIds() const;
    size_t Size() const { return _entries.size(); }

private:
    struct ByVif {};
    struct ByPort {};
    struct BySwitch {};
    struct ByLogicalPort {};
    using Entries = boost::multi_index_container<
        PortEntry,
        boost::multi_index::indexed_by<
            boost::multi_index::ordered_unique<
                boost::multi_index::tag<ByVif>,
                boost::multi_index::member<PortEntry, std::string, &PortEntry::vifId>>,
            boost::multi_index::ordered_unique<
                boost::multi_index::tag<ByPort>,
                boost::multi_index::member<PortEntry, std::string, &PortEntry::portId>>,
            boost::multi_index::ordered_non_unique<
                boost::multi_index::tag<BySwitch>,
                boost::multi_index::member<PortEntry, Uuid, &PortEntry::lsId>>,
            boost::multi_index::ordered_non_unique<
                boost::multi_index::tag<ByLogicalPort>,
                boost::multi_index::member<PortEntry, Uuid, &PortEntry::lspId>>>>;

    Entries _entries;
};

}  // namespace CfgAgent
