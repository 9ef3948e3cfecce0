#include "host/Endpoints.h"

#include <cstdlib>

namespace CfgAgent {

std::string Endpoints::Lookup(const char* variable, const char* fallback) {
    const char* value = std::getenv(variable);
    return (value != nullptr && *value != '\0') ? std::string(value) : std::string(fallback);
}

}  // namespace CfgAgent
