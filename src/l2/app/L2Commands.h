#pragma once

#include <string>

#include "zef/RefPtr.h"

namespace CfgAgent {

class CommandRegistry;
class L2App;

// The command socket's view of the overlay application; without one the
// answers are empty.
class L2Commands {
public:
    explicit L2Commands(zef::RefPtr<L2App> app);
    ~L2Commands();
    L2Commands(const L2Commands&);

    void Register(CommandRegistry& registry) const;
    std::string RoutingDomains() const;

private:
    zef::RefPtr<L2App> _app;
};

}  // namespace CfgAgent
