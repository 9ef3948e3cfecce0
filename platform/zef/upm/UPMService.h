#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace zef::upm {

// Profile and group membership queries of the host. The stand-in has
// nothing to start or stop; its owner still calls both.
class UPMService {
public:
    void Start() {}
    void Stop() {}

    // The profile of `kind` that applies to an entity, as a serialized
    // profile message; false when none does.
    bool GetProfile(const std::string& entityId, uint32_t kind, std::string& body) const {
        std::lock_guard<std::mutex> lock(_mutex);
        auto it = _profiles.find({entityId, kind});
        if (it == _profiles.end()) {
            return false;
        }
        body = it->second;
        return true;
    }
    // What the host's profile service learnt; an empty body removes it.
    void SetProfile(const std::string& entityId, uint32_t kind, std::string body) {
        std::lock_guard<std::mutex> lock(_mutex);
        if (body.empty()) {
            _profiles.erase({entityId, kind});
        } else {
            _profiles[{entityId, kind}] = std::move(body);
        }
    }

private:
    mutable std::mutex _mutex;
    std::map<std::pair<std::string, uint32_t>, std::string> _profiles;
};

}  // namespace zef::upm
