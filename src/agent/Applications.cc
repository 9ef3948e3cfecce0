#include "agent/Applications.h"

#include "agent/AppContext.h"
#include "agent/AppRegistry.h"
#include "cli/api/CommandRegistry.h"
#include "l2/app/L2App.h"
#include "l2/app/L2Application.h"
#include "l2/app/L2Commands.h"
#include "l2/bfd/BFDTableApp.h"
#include "l2/bfd/BfdApplication.h"
#include "l2/bfd/BfdCommands.h"
#include "log/Logger.h"
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

L2Application* OverlayApp(Application* application) { return static_cast<L2Application*>(application); }

AppRegistry::Kind Vxlan() {
    return {
        "vxlan",
        "L2 application starts",
        [](const AppContext& c, const AppRegistry::Made&) {
            return std::make_unique<L2Application>(c.stateCache->ConfigTable(), c.stateCache->L2Table(),
                                                   c.dispatcher);
        },
        [](CommandRegistry& commands, Application* application, const AppContext&) {
            zef::RefPtr<L2App> app = application ? OverlayApp(application)->App() : nullptr;
            L2Commands(app).Register(commands);
        },
    };
}

BfdApplication* BfdApp(Application* application) { return static_cast<BfdApplication*>(application); }

// Made only beside an overlay application, whose session it sends on.
AppRegistry::Kind Bfd() {
    return {
        "bfd",
        "BFD application starts",
        [](const AppContext& c, const AppRegistry::Made& made) -> std::unique_ptr<Application> {
            Application* overlay = made.Find("vxlan");
            if (overlay == nullptr) {
                return nullptr;
            }
            return std::make_unique<BfdApplication>(c.stateCache->ConfigTable(), c.stateCache->L2Table(),
                                                    OverlayApp(overlay)->App(), c.dispatcher);
        },
        [](CommandRegistry& commands, Application* application, const AppContext&) {
            zef::RefPtr<BFDTableApp> app = application ? BfdApp(application)->App() : nullptr;
            BfdCommands(app).Register(commands);
        },
    };
}

// A simulated loss of sync of one vertical; false for a vertical this
// process does not run.
bool SimulateOutOfSync(const AppRegistry& registry, const std::string& vertical) {
    if (vertical == "config") {
        if (Application* application = registry.Find("config")) {
            PortApp(application)->App()->SimulateOutOfSync();
            return true;
        }
    } else if (vertical == "l2") {
        if (Application* application = registry.Find("vxlan")) {
            OverlayApp(application)->App()->SimulateOutOfSync();
            return true;
        }
    }
    return false;
}

}  // namespace

void Applications::RegisterAll(AppRegistry& registry) {
    registry.Add(Config());
    registry.Add(Vxlan());
    registry.Add(Bfd());
}

void Applications::AddCommands(CommandRegistry& commands, const AppRegistry& registry) {
    commands.Add("cfgagent/set-simulate/out-of-sync", [&registry](const CommandRegistry::Args& args) {
        const std::string& vertical = args.at(0);
        if (!SimulateOutOfSync(registry, vertical)) {
            CFG_LOG(LL_ERROR, "CliServer: unknown vertical name %1.", vertical);
            return CommandReply("Setting simulate out of sync for vertical " + vertical + " failed");
        }
        CFG_LOG(LL_INFO, "CliServer: setting simulate out of sync for vertical %1", vertical);
        return CommandReply("Setting simulate out of sync for vertical " + vertical + " successfully");
    });
}

bool Applications::StoreConnected(const AppRegistry& registry) {
    Application* application = registry.Find("config");
    return application != nullptr && PortApp(application)->App()->LoftdbConnected();
}

}  // namespace CfgAgent
