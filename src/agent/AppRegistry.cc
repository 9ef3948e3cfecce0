#include "agent/AppRegistry.h"

#include <algorithm>

#include "log/Logger.h"

namespace CfgAgent {

Application* AppRegistry::Made::Find(const std::string& name) const {
    auto it = _byName.find(name);
    return it != _byName.end() ? it->second : nullptr;
}

void AppRegistry::Add(Kind kind) { _kinds.push_back(std::make_unique<Kind>(std::move(kind))); }

void AppRegistry::StartConfigured(const std::vector<AppEntry>& entries, const AppContext& context) {
    for (const AppEntry& entry : entries) {
        auto kind = std::find_if(_kinds.begin(), _kinds.end(),
                                 [&entry](const auto& k) { return k->name == entry.name; });
        if (!entry.enabled || kind == _kinds.end()) {
            continue;
        }
        std::unique_ptr<Application> application = (*kind)->make(context, _made);
        if (!application) {
            continue;
        }
        application->Start(entry.config);
        CFG_LOG(LL_INFO, "%1", (*kind)->startLine);
        _made._byName[entry.name] = application.get();
        _instances.push_back({kind->get(), std::move(application)});
    }
}

std::vector<AppRegistry::Instance*> AppRegistry::InKindOrder() {
    std::vector<Instance*> ordered;
    for (const auto& kind : _kinds) {
        // The latest of a name first: it replaced the earlier ones.
        for (auto it = _instances.rbegin(); it != _instances.rend(); ++it) {
            if (it->kind == kind.get()) {
                ordered.push_back(&*it);
            }
        }
    }
    return ordered;
}

void AppRegistry::LateStart() {
    for (Instance* instance : InKindOrder()) {
        if (_made.Find(instance->kind->name) == instance->application.get()) {
            instance->application->LateStart();
        }
    }
}

void AppRegistry::Stop() {
    for (Instance* instance : InKindOrder()) {
        instance->application->Stop();
    }
}

void AppRegistry::AddCommands(CommandRegistry& registry, const AppContext& context) const {
    for (const auto& kind : _kinds) {
        if (kind->commands) {
            kind->commands(registry, _made.Find(kind->name), context);
        }
    }
}

}  // namespace CfgAgent
