#pragma once

#include <string>

#include "zef/RefPtr.h"

namespace CfgAgent {

class BFDTableApp;
class CommandRegistry;

// The command socket's view of the BFD sessions; without the application
// the answer is empty.
class BfdCommands {
public:
    explicit BfdCommands(zef::RefPtr<BFDTableApp> app);
    ~BfdCommands();
    BfdCommands(const BfdCommands&);

    void Register(CommandRegistry& registry) const;
    // One row per session and reason: the two TEPs, the pair of IDs, the
    // session's type and how many switches or domains give the reason.
    std::string Sessions() const;

private:
    zef::RefPtr<BFDTableApp> _app;
};

}  // namespace CfgAgent
