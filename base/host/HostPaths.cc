#include "host/HostPaths.h"

#include <cstdlib>

namespace CfgAgent {

std::string HostPaths::Root() {
    const char* root = std::getenv(kRootVariable);
    if (root == nullptr) {
        return {};
    }
    std::string text(root);
    while (!text.empty() && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

std::string HostPaths::Resolve(const std::string& absolutePath) {
    if (absolutePath.empty() || absolutePath.front() != '/') {
        return absolutePath;
    }
    return Root() + absolutePath;
}

}  // namespace CfgAgent
