#pragma once

#include <atomic>
#include <cstdint>

namespace CfgAgent {

// Intrusive count for a class `T` with no virtual base: the last Release
// deletes the object as a `T`.
template <typename T>
class RefCounter {
public:
    void AddRef() { _refs.fetch_add(1, std::memory_order_relaxed); }
    void Release() {
        if (_refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete static_cast<T*>(this);
        }
    }

protected:
    RefCounter() = default;
    ~RefCounter() = default;

private:
    std::atomic<int32_t> _refs{0};
};

}  // namespace CfgAgent
