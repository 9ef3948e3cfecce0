#include "log/TenantContext.h"

#include <cstdio>
#include <cstring>

#include "loftdb_common.pb.h"

namespace CfgAgent {

namespace {

constexpr size_t kLogTextMax = 63;

struct Stack {
    const TenantContext* entries[TenantContext::kStackDepth] = {};
    int count = 0;
};

thread_local Stack tenantStack;

template <size_t N>
bool CopyText(char (&target)[N], bool present, const std::string& text) {
    if (!present || text.empty()) {
        return false;
    }
    std::strncpy(target, text.c_str(), N - 1);
    target[N - 1] = '\0';
    return true;
}

}  // namespace

TenantContext::TenantContext(const halden::zef::loftdb::TenantContextMsg& msg) {
    bool any = CopyText(_org, msg.has_org(), msg.org());
    any |= CopyText(_proj, msg.has_proj(), msg.proj());
    any |= CopyText(_vpc, msg.has_vpc(), msg.vpc());
    if (!any || tenantStack.count >= kStackDepth) {
        return;
    }
    tenantStack.entries[tenantStack.count++] = this;
    _pushed = true;
}

TenantContext::~TenantContext() {
    if (_pushed) {
        tenantStack.entries[--tenantStack.count] = nullptr;
    }
}

const TenantContext* TenantContext::Top() {
    return tenantStack.count > 0 ? tenantStack.entries[tenantStack.count - 1] : nullptr;
}

std::string TenantContext::LogText() {
    const TenantContext* top = Top();
    if (top == nullptr) {
        return {};
    }
    char buffer[kLogTextMax + 1];
    if (top->_vpc[0] != '\0') {
        std::snprintf(buffer, sizeof buffer, " org=\"%s\" proj=\"%s\" vpc=\"%s\"", top->_org,
                      top->_proj, top->_vpc);
    } else if (top->_proj[0] != '\0') {
        std::snprintf(buffer, sizeof buffer, " org=\"%s\" proj=\"%s\"", top->_org, top->_proj);
    } else {
        std::snprintf(buffer, sizeof buffer, " org=\"%s\"", top->_org);
    }
    return buffer;
}

}  // namespace CfgAgent
