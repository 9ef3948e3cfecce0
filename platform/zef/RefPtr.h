#pragma once

#include <utility>

namespace zef {

// Counted handle to an object with AddRef and Release.
template <typename T>
class RefPtr {
public:
    RefPtr() = default;
    RefPtr(std::nullptr_t) {}
    explicit RefPtr(T* object) : _object(object) { Acquire(); }
    RefPtr(const RefPtr& other) : _object(other._object) { Acquire(); }
    RefPtr(RefPtr&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
    template <typename U>
    RefPtr(const RefPtr<U>& other) : _object(other.get()) {
        Acquire();
    }
    ~RefPtr() { Drop(); }

    RefPtr& operator=(RefPtr other) noexcept {
        std::swap(_object, other._object);
        return *this;
    }

    T* get() const { return _object; }
    T* operator->() const { return _object; }
    T& operator*() const { return *_object; }
    explicit operator bool() const { return _object != nullptr; }
    void reset() { RefPtr().swap(*this); }
    void swap(RefPtr& other) noexcept { std::swap(_object, other._object); }

private:
    void Acquire() {
        if (_object != nullptr) {
            _object->AddRef();
        }
    }
    void Drop() {
        if (_object != nullptr) {
            _object->Release();
        }
    }

    T* _object = nullptr;
};

template <typename T, typename... Args>
RefPtr<T> MakeRef(Args&&... args) {
    return RefPtr<T>(new T(std::forward<Args>(args)...));
}

}  // namespace zef
