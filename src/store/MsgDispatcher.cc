#include "store/MsgDispatcher.h"

#include "frame/StageClock.h"
#include "frame/WorkGroup.h"
#include "frame/WorkItemImpl.h"
#include "log/Logger.h"

namespace CfgAgent {

MsgDispatcher::MsgDispatcher(std::shared_ptr<UpdateQueue> queue)
    : _queue(std::move(queue)), _components(16) {
    _components.max_load_factor(1.0f);
}

bool MsgDispatcher::Register(ComponentType type, zef::RefPtr<Component> component) {
    std::lock_guard<std::mutex> guard(_mutex);
    if (!_components.emplace(type, std::move(component)).second) {
        CFG_LOG(LL_ERROR, "MsgDispatcher: register existing component %1", CompTypeToString(type));
        return false;
    }
    CFG_LOG(LL_INFO, "MsgDispatcher: registered component %1", CompTypeToString(type));
    return true;
}

bool MsgDispatcher::Unregister(const zef::RefPtr<Component>& component) {
    std::lock_guard<std::mutex> guard(_mutex);
    for (auto it = _components.begin(); it != _components.end(); ++it) {
        if (it->second.get() == component.get()) {
            CFG_LOG(LL_INFO, "MsgDispatcher: unregistered component: %1", CompTypeToString(it->first));
            _components.erase(it);
            return true;
        }
    }
    CFG_LOG(LL_ERROR, "MsgDispatcher: unregister nonexistent component");
    return false;
}

void MsgDispatcher::Start() {
    _running = true;
    WorkGroup* group = WorkGroup::Instance();
    if (group != nullptr) {
        group->Enqueue(std::make_shared<WorkItemImpl<MsgDispatcher>>(this, &MsgDispatcher::Run));
    }
}

void MsgDispatcher::Stop() {
    _running = false;
    _queue->Stop();
}

zef::RefPtr<Component> MsgDispatcher::Find(ComponentType type) {
    std::lock_guard<std::mutex> guard(_mutex);
    auto it = _components.find(type);
    return it != _components.end() ? it->second : zef::RefPtr<Component>();
}

void MsgDispatcher::Run() {
    CFG_LOG(LL_INFO, "MsgDispatcher: start");
    while (_running) {
        std::optional<std::unique_ptr<Transaction>> next = _queue->Get();
        if (next && *next) {
            if ((*next)->closedAt != 0) {
                StageClock::Add(StageClock::Queue, StageClock::Now() - (*next)->closedAt);
            }
            Dispatch(**next);
            if (StageClock::Enabled()) {
                CFG_LOG(LL_INFO, "MsgDispatcher: stages %1", StageClock::Line());
            }
        }
    }
}

void MsgDispatcher::Dispatch(Transaction& transaction) {
    const char* mode = transaction.isFullSync ? "FullSync" : "delta update";
    // Each share is one component's alone, so it is handed over.
    for (auto& [type, records] : transaction.updates) {
        zef::RefPtr<Component> component = Find(type);
        if (!component) {
            continue;
        }
        CFG_LOG(LL_INFO, "MsgDispatcher: dispatching object to component %1 (%2) ID %3",
                CompTypeToString(type), mode, transaction.transactionId);
        component->TakeDesiredState(std::move(records), transaction.isFullSync);
    }
}

}  // namespace CfgAgent
