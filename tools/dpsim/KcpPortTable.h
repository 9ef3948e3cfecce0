#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "KcpPropertyJson.h"
#include "port/kcp/KcpContainerRecord.h"
#include "port/kcp/KcpProperty.h"

namespace Dpsim {

// The switching module's table of what the agent told it: port, taknic and
// host switch properties, the lists of what exists and the containers.
// Updates split with the more bit are held until their last part and then
// applied as one.
class KcpPortTable {
public:
    // Empty when the Update was taken; otherwise why it was refused, and
    // then the table is as it was.
    std::string Apply(std::span<const uint8_t> message);
    // Split sequences that have not ended yet are forgotten.
    void DropPending() { _pending.clear(); }

    // Adds "ports", "taknics", "hds", "portContainers" and "containers".
    void Dump(cJSON* into) const;

private:
    using Values = std::vector<std::vector<uint8_t>>;
    using Records = std::map<std::string, KcpPropertySet>;

    // Every part was checked on arrival, so applying cannot fail.
    void ApplySequence(uint16_t dataType, const Values& values);
    void ApplyPropertyUpdates(uint16_t dataType, const Values& values);
    void ApplyHdsUpdates(const Values& values);
    void ApplyList(uint16_t dataType, const Values& values);
    void ApplyPortContainerList(const Values& values);
    void ApplyContainers(const Values& values);

    static void ApplyRecord(Records& records, const std::string& id, uint8_t operation,
                            const std::vector<CfgAgent::KcpProperty>& properties);
    void DumpRecords(cJSON* into, const char* name, KcpPropertyJson::Owner owner,
                     const Records& records, std::initializer_list<uint16_t> listTypes) const;

    Records _ports;
    Records _taknics;
    Records _hds;
    // By list data type: what the last list message of that type held.
    std::map<uint16_t, std::vector<std::string>> _lists;
    std::map<std::string, std::vector<std::string>> _portContainers;
    std::map<std::string, CfgAgent::KcpContainerRecord> _containers;
    // By data type: the parts of a split sequence received so far.
    std::map<uint16_t, Values> _pending;
};

}  // namespace Dpsim
