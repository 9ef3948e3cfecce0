#pragma once

#include "frame/WorkItem.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// Runs a member function of a counted object, keeping the object alive for as
// long as the item exists.
template <typename T>
class WorkItemImpl : public WorkItem {
public:
    using Member = void (T::*)();

    WorkItemImpl(T* object, Member member) : _member(member), _object(object) {}
    WorkItemImpl(const WorkItemImpl&) = delete;
    WorkItemImpl& operator=(const WorkItemImpl&) = delete;

    void Run() override { (_object.get()->*_member)(); }

private:
    Member _member;
    zef::RefPtr<T> _object;
};

}  // namespace CfgAgent
