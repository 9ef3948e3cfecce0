#include "PortRoad.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

namespace zef::test {

std::string PortRoad::AgentConfig() {
    return "<config><log><level>4</level></log><cfgAgent><workGroup><ioThreads>1</ioThreads>"
           "<workThreads>8</workThreads></workGroup><apps><app><name>config</name>"
           "<enabled>true</enabled><config><taklink><path>kcp_taklink</path></taklink>"
           "</config></app></apps></cfgAgent></config>";
}

void PortRoad::StartAll() {
    StartStore();
    StartDpsim({std::string(kLink) + ":kcp", "swsec_taklink:swsec"});
    StartAgent(AgentConfig());
}

std::map<std::string, KernelPort> PortRoad::KernelPorts() {
    std::map<std::string, KernelPort> ports;
    const std::string answer = Dpsim({"ports", kLink});
    cJSON* root = cJSON_Parse(answer.c_str());
    const cJSON* links = cJSON_GetObjectItem(root, "links");
    const cJSON* table = cJSON_GetObjectItem(cJSON_GetArrayItem(links, 0), "ports");
    const cJSON* port = nullptr;
    cJSON_ArrayForEach(port, table) {
        KernelPort& kernel = ports[port->string];
        const cJSON* property = nullptr;
        cJSON_ArrayForEach(property, cJSON_GetObjectItem(port, "properties")) {
            const char* hex = cJSON_GetStringValue(cJSON_GetObjectItem(property, "hex"));
            kernel.properties[std::stoi(property->string)] = hex != nullptr ? hex : "";
        }
        const cJSON* block = cJSON_GetObjectItem(cJSON_GetObjectItem(cJSON_GetObjectItem(port, "properties"), "101"), "text");
        kernel.block = cJSON_IsString(block) ? block->valuestring : "";
    }
    cJSON_Delete(root);
    return ports;
}

bool PortRoad::PollPorts(const std::function<bool(const std::map<std::string, KernelPort>&)>& holds,
                         std::map<std::string, KernelPort>& last) {
    std::string ignored;
    return Poll(
        [&] {
            last = KernelPorts();
            return std::string();
        },
        [&](const std::string&) { return holds(last); }, ignored);
}

size_t PortRoad::CountRecorded(const std::vector<std::string>& parts) const {
    std::istringstream lines(ReadRecord());
    size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("\"dir\":\"in\"") == std::string::npos) {
            continue;
        }
        bool all = true;
        for (const std::string& part : parts) {
            all = all && line.find(part) != std::string::npos;
        }
        count += all ? 1 : 0;
    }
    return count;
}

std::string PortRoad::Uuid(uint64_t left, uint64_t right) {
    char text[40];
    std::snprintf(text, sizeof text, "%08llx-%04llx-%04llx-%04llx-%012llx",
                  static_cast<unsigned long long>(left >> 32),
                  static_cast<unsigned long long>((left >> 16) & 0xffff),
                  static_cast<unsigned long long>(left & 0xffff),
                  static_cast<unsigned long long>(right >> 48),
                  static_cast<unsigned long long>(right & 0xffffffffffffULL));
    return text;
}

}  // namespace zef::test
