#include "KcpPropertyJson.h"

#include <string>

#include "RecordFile.h"

namespace Dpsim {

namespace {

struct NumberKey {
    KcpPropertyJson::Owner owner;
    uint16_t key;
    size_t width;
};

// Keys whose value is one big-endian number: VNI, child port VLAN and QoS
// mode of a port, the taknic's label, mirror dispatch and forwarding mode of
// a host switch.
constexpr NumberKey kNumberKeys[] = {
    {KcpPropertyJson::Owner::kPort, 1, 4},   {KcpPropertyJson::Owner::kPort, 6, 4},
    {KcpPropertyJson::Owner::kPort, 181, 4}, {KcpPropertyJson::Owner::kTaknic, 1, 4},
    {KcpPropertyJson::Owner::kHds, 4, 1},    {KcpPropertyJson::Owner::kHds, 10, 4},
};

bool IsText(const std::vector<uint8_t>& value) {
    if (value.empty() || value.back() != 0) {
        return false;
    }
    for (size_t i = 0; i + 1 < value.size(); ++i) {
        if (value[i] < 0x20 || value[i] > 0x7E) {
            return false;
        }
    }
    return true;
}

bool Number(KcpPropertyJson::Owner owner, uint16_t key, const std::vector<uint8_t>& value,
            double& number) {
    for (const NumberKey& known : kNumberKeys) {
        if (known.owner == owner && known.key == key && known.width == value.size()) {
            uint64_t result = 0;
            for (uint8_t byte : value) {
                result = (result << 8) | byte;
            }
            number = static_cast<double>(result);
            return true;
        }
    }
    return false;
}

std::string Text(const std::vector<uint8_t>& value) {
    return std::string(value.begin(), value.end() - 1);
}

}  // namespace

cJSON* KcpPropertyJson::Properties(Owner owner, const KcpPropertySet& properties) {
    cJSON* all = cJSON_CreateObject();
    for (const auto& [key, value] : properties) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddItemToObject(all, std::to_string(key).c_str(), one);
        cJSON_AddStringToObject(one, "hex", RecordFile::Hex(value).c_str());
        double number = 0;
        if (IsText(value)) {
            cJSON_AddStringToObject(one, "text", Text(value).c_str());
        } else if (Number(owner, key, value, number)) {
            cJSON_AddNumberToObject(one, "number", number);
        }
    }
    return all;
}

cJSON* KcpPropertyJson::Blocked(const KcpPropertySet& properties) {
    const auto block = properties.find(kBlockKey);
    if (block != properties.end() && IsText(block->second)) {
        const std::string text = Text(block->second);
        if (text == "true" || text == "false") {
            return cJSON_CreateBool(text == "true");
        }
    }
    return cJSON_CreateNull();
}

}  // namespace Dpsim
