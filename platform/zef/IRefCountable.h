#pragma once

namespace zef {

// Base of intrusively counted objects; the last Release deletes.
class IRefCountable {
public:
    virtual ~IRefCountable() = default;
    virtual void AddRef() = 0;
    virtual void Release() = 0;
};

}  // namespace zef
