#pragma once

#include <memory>

#include "cache/StateCache.h"
#include "store/LoftdbClient.h"
#include "store/MsgDispatcher.h"
#include "zef/RefPtr.h"

namespace zef {
class AsioZefProvider;
}
namespace zef::upm {
class UPMService;
}

namespace CfgAgent {

// What the process made before the applications, handed to their factories.
struct AppContext {
    zef::RefPtr<StateCache> stateCache;
    zef::RefPtr<MsgDispatcher> dispatcher;
    zef::RefPtr<LoftdbClient> loftdbClient;
    zef::AsioZefProvider* provider = nullptr;
    std::shared_ptr<zef::upm::UPMService> upm;
};

}  // namespace CfgAgent
