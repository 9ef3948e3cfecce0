#include "agent/Applications.h"

#include "agent/AppContext.h"
#include "agent/AppRegistry.h"
#include "port/session/ConfigApp.h"
#include "port/session/PortApplication.h"
#include "port/session/PortCommands.h"

namespace CfgAgent {

namespace {

PortApplication* PortApp(Application* application) { return static_cast<PortApplication*>(application); }

AppRegistry::Kind Config() {
    return {
        "config",
        "Config application starts",
        [](const AppContext& c, const AppRegistry::Made&) {
            return std::make_unique<PortApplication>(c.stateCache->ConfigTable(), c.dispatcher,
                                                     *c.loftdbClient, c.provider, c.upm);
        },
        [](CommandRegistry& commands, Application* application, const AppContext& c) {
            zef::RefPtr<ConfigApp> app = application ? PortApp(application)->App() : nullptr;
            PortCommands(c.stateCache->ConfigTable(), app).Register(commands);
        },
    };
}

}  // namespace

void Applications::RegisterAll(AppRegistry& registry) { registry.Add(Config()); }

bool Applications::StoreConnected(const AppRegistry& registry) {
    Application* application = registry.Find("config");
    return application != nullptr && PortApp(application)->App()->LoftdbConnected();
}

}  // namespace CfgAgent
