#include "port/conversion/DPUpdate.h"

#include <algorithm>

namespace CfgAgent {

void DPUpdate::Add(const std::string& id, DPProperty property) {
    DPPropertyList& properties = entries[id].properties;
    auto same = std::find_if(properties.begin(), properties.end(),
                             [&](const DPProperty& p) { return p.type == property.type; });
    if (same != properties.end()) {
        *same = std::move(property);
    } else {
        properties.push_back(std::move(property));
    }
}

}  // namespace CfgAgent
