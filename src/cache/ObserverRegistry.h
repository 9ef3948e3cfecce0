#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

namespace CfgAgent {

// Observers per object type, and the distinct observers in the order they
// first registered: the order in which they are told.
template <typename Observer>
class ObserverRegistry {
public:
    enum class Result { Added, Null, Existing };

    Result Register(uint32_t objectType, Observer* observer) {
        if (observer == nullptr) {
            return Result::Null;
        }
        auto range = _byType.equal_range(objectType);
        for (auto it = range.first; it != range.second; ++it) {
            if (it->second == observer) {
                return Result::Existing;
            }
        }
        _byType.emplace(objectType, observer);
        if (std::find(_ordered.begin(), _ordered.end(), observer) == _ordered.end()) {
            _ordered.push_back(observer);
        }
        return Result::Added;
    }

    void Unregister(Observer* observer) {
        std::erase_if(_byType, [observer](const auto& item) { return item.second == observer; });
        std::erase(_ordered, observer);
    }

    template <typename Fn>
    void ForType(uint32_t objectType, Fn&& fn) const {
        auto range = _byType.equal_range(objectType);
        for (auto it = range.first; it != range.second; ++it) {
            fn(it->second);
        }
    }

    bool Observed(uint32_t objectType) const { return _byType.count(objectType) != 0; }

    const std::vector<Observer*>& Ordered() const { return _ordered; }

private:
    std::multimap<uint32_t, Observer*> _byType;
    std::vector<Observer*> _ordered;
};

}  // namespace CfgAgent
