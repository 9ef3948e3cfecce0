#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "cache/StateCache.h"
#include "cli/api/CliJson.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

class CommandRegistry;

// The command socket's dumps of the tables: whole sides, rows of one object
// type, the five dumps at once and the byte accounts.
class CacheCommands {
public:
    static constexpr size_t kMaxDumpRows = 60000;

    explicit CacheCommands(zef::RefPtr<StateCache> stateCache) : _stateCache(std::move(stateCache)) {}

    void Register(CommandRegistry& registry) const;

    std::string L2Local() const;
    std::string L2Remote() const;
    std::string L3Remote() const;
    std::string ConfigRemote() const;
    std::string ConfigLocal() const;
    std::string ConfigOfType(uint32_t objectType) const;
    std::string CacheTable() const;
    std::string CacheSize() const;

private:
    CliJson L2LocalRows() const;
    CliJson L2RemoteRows() const;

    zef::RefPtr<StateCache> _stateCache;
};

}  // namespace CfgAgent
