#include "OverlayRoad.h"

#include <cjson/cJSON.h>

namespace zef::test {

namespace {

std::string Ipv4Text(uint32_t ip) {
    return std::to_string(ip >> 24) + "." + std::to_string((ip >> 16) & 0xFF) + "." +
           std::to_string((ip >> 8) & 0xFF) + "." + std::to_string(ip & 0xFF);
}

std::string MacText(uint64_t mac) {
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", static_cast<unsigned>(mac >> 40) & 0xFF,
                  static_cast<unsigned>(mac >> 32) & 0xFF, static_cast<unsigned>(mac >> 24) & 0xFF,
                  static_cast<unsigned>(mac >> 16) & 0xFF, static_cast<unsigned>(mac >> 8) & 0xFF,
                  static_cast<unsigned>(mac) & 0xFF);
    return text;
}

std::string IdJson(uint64_t left) { return R"({"left":")" + std::to_string(left) + R"(","right":"1"})"; }

std::string VtepJson(uint32_t label, uint32_t ip) {
    return R"({"vtep_label":{"label":)" + std::to_string(label) + R"(},"vtep_ip":)" + std::to_string(ip) +
           R"(,"encap_type":4})";
}

}  // namespace

void PrintTo(const OverlayVni& vni, std::ostream* out) {
    *out << "{vteps:";
    for (const std::string& vtep : vni.vteps) {
        *out << " [" << vtep << "]";
    }
    *out << " macs:";
    for (const std::string& mac : vni.macs) {
        *out << " [" << mac << "]";
    }
    *out << "}";
}

std::string OverlayStore::SwitchJson(uint64_t left, const Switch& sw) {
    return R"({"id":)" + IdJson(left) + R"(,"vni":)" + std::to_string(sw.vni) + "}";
}

std::string OverlayStore::FibJson(uint64_t left, const Switch& sw) {
    std::string vteps;
    for (const auto& [label, ip] : sw.vteps) {
        vteps += (vteps.empty() ? "" : ",") + VtepJson(label, ip);
    }
    std::string macs;
    for (const auto& [mac, label] : sw.macs) {
        macs += (macs.empty() ? "" : ",") + std::string(R"({"mac":")") + std::to_string(mac) +
                R"(","vtep":)" + VtepJson(label, sw.vteps.count(label) ? sw.vteps.at(label) : 0) + "}";
    }
    return R"({"id":)" + IdJson(left) + R"(,"vteps":[)" + vteps + R"(],"macs":[)" + macs + "]}";
}

Overlay ExpectedOverlay(const OverlayStore& store) {
    Overlay overlay;
    for (uint32_t vni : store.joined) {
        overlay[vni];
    }
    for (const auto& [left, sw] : store.switches) {
        if (!store.joined.contains(sw.vni) || !sw.hasFib) {
            continue;
        }
        OverlayVni& vni = overlay[sw.vni];
        for (const auto& [label, ip] : sw.vteps) {
            vni.vteps.insert(std::to_string(label) + " " + Ipv4Text(ip));
        }
        for (const auto& [mac, label] : sw.macs) {
            vni.macs.insert(MacText(mac) + " " + std::to_string(label));
        }
    }
    return overlay;
}

std::string OverlayRoad::AgentConfig() {
    return "<config><log><level>4</level></log><cfgAgent><workGroup><ioThreads>1</ioThreads>"
           "<workThreads>16</workThreads></workGroup><apps><app><name>config</name>"
           "<enabled>true</enabled><config><taklink><path>kcp_taklink</path></taklink>"
           "</config></app><app><name>vxlan</name><enabled>true</enabled><config><taklink><path>" +
           std::string(kLink) + "</path></taklink></config></app></apps></cfgAgent></config>";
}

void OverlayRoad::StartSimulator() {
    StartDpsim({"kcp_taklink:kcp", "swsec_taklink:swsec", std::string(kLink) + ":vxlan"});
}

void OverlayRoad::StartAll() {
    StartStore();
    StartSimulator();
    StartAgent(AgentConfig());
}

Overlay OverlayRoad::KernelOverlay() {
    Overlay overlay;
    const std::string answer = Dpsim({"ports", kLink});
    cJSON* root = cJSON_Parse(answer.c_str());
    const cJSON* link = cJSON_GetArrayItem(cJSON_GetObjectItem(root, "links"), 0);
    const cJSON* vni = nullptr;
    cJSON_ArrayForEach(vni, cJSON_GetObjectItem(link, "vnis")) {
        OverlayVni& kernel = overlay[static_cast<uint32_t>(std::stoul(vni->string))];
        const cJSON* entry = nullptr;
        cJSON_ArrayForEach(entry, cJSON_GetObjectItem(vni, "vteps")) {
            kernel.vteps.insert(std::to_string(cJSON_GetObjectItem(entry, "label")->valueint) + " " +
                                cJSON_GetStringValue(cJSON_GetObjectItem(entry, "ip")));
        }
        cJSON_ArrayForEach(entry, cJSON_GetObjectItem(vni, "macs")) {
            kernel.macs.insert(std::string(cJSON_GetStringValue(cJSON_GetObjectItem(entry, "mac"))) + " " +
                               std::to_string(cJSON_GetObjectItem(entry, "label")->valueint));
        }
    }
    cJSON_Delete(root);
    return overlay;
}

bool OverlayRoad::PollOverlay(const Overlay& expected, Overlay& last) {
    std::string ignored;
    return Poll(
        [&] {
            last = KernelOverlay();
            return std::string();
        },
        [&](const std::string&) { return last == expected; }, ignored);
}

void OverlayRoad::Join(uint32_t vni) {
    Dpsim({"vni", kLink, "join", std::to_string(vni), std::to_string(kInstance)});
}

void OverlayRoad::Leave(uint32_t vni) { Dpsim({"vni", kLink, "leave", std::to_string(vni)}); }

}  // namespace zef::test
