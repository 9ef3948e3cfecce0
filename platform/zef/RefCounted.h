#pragma once

#include <atomic>
#include <cstdint>

namespace zef {

// Implements the counting of an IRefCountable-derived `Base` for class `T`.
template <typename T, typename Base>
class RefCounted : public Base {
public:
    using Base::Base;

    void AddRef() override { _refs.fetch_add(1, std::memory_order_relaxed); }
    void Release() override {
        if (_refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete static_cast<T*>(this);
        }
    }

private:
    std::atomic<int32_t> _refs{0};
};

}  // namespace zef
