#pragma once

namespace CfgAgent {

class AppRegistry;
class CommandRegistry;

// The one place that knows every application of this build.
class Applications {
public:
    // Every kind, in the order applications stop in.
    static void RegisterAll(AppRegistry& registry);
    // What the process monitor is told of the store: the port session's
    // health monitor, false without the port session.
    static bool StoreConnected(const AppRegistry& registry);
    // The commands that reach more than one application.
    static void AddCommands(CommandRegistry& commands, const AppRegistry& registry);
};

}  // namespace CfgAgent
