#pragma once

#include <cjson/cJSON.h>

#include <memory>

namespace Dpsim {

struct JsonDelete {
    void operator()(cJSON* json) const { cJSON_Delete(json); }
};

using JsonPtr = std::unique_ptr<cJSON, JsonDelete>;

}  // namespace Dpsim
