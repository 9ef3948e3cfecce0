#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/AppEntry.h"
#include "frame/Application.h"

namespace CfgAgent {

struct AppContext;
class CommandRegistry;

// The applications this build has, by the names of the configuration's list,
// and the ones that list made. Kinds are added in the order applications
// stop in; start follows the list's order.
class AppRegistry {
public:
    class Made;
    // Null when a collaborator it needs is missing; the factory says why.
    using Factory = std::function<std::unique_ptr<Application>(const AppContext&, const Made&)>;
    // Adds the commands of the kind, answered by its application or, when
    // none was made, as the kind answers without one.
    using Commands = std::function<void(CommandRegistry&, Application*, const AppContext&)>;

    struct Kind {
        std::string name;
        const char* startLine;  // logged once the application started
        Factory make;
        Commands commands;
    };

    // The applications made so far, by name; the last of a name wins.
    class Made {
    public:
        Application* Find(const std::string& name) const;

    private:
        friend class AppRegistry;
        std::map<std::string, Application*> _byName;
    };

    void Add(Kind kind);

    // Makes and starts each enabled entry in list order; an unknown name is
    // skipped without a word. A second entry of a name is made and started
    // too and takes the name; the first still runs until Stop.
    void StartConfigured(const std::vector<AppEntry>& entries, const AppContext& context);
    // The applications that hold a name, in kind order.
    void LateStart();
    // Every application made, in kind order, a replaced one after its successor.
    void Stop();

    Application* Find(const std::string& name) const { return _made.Find(name); }
    void AddCommands(CommandRegistry& registry, const AppContext& context) const;

private:
    struct Instance {
        const Kind* kind;
        std::unique_ptr<Application> application;
    };
    std::vector<Instance*> InKindOrder();

    std::vector<std::unique_ptr<Kind>> _kinds;
    std::vector<Instance> _instances;
    Made _made;
};

}  // namespace CfgAgent
