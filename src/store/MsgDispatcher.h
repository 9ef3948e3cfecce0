#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>

#include "frame/Component.h"
#include "frame/KeyHash.h"
#include "frame/vocabulary/ComponentType.h"
#include "store/UpdateQueue.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// The single consumer of the update queue: one transaction at a time, each
// component's share in ascending ComponentType, tables before applications.
class MsgDispatcher : public zef::RefCounted<MsgDispatcher, zef::IRefCountable> {
public:
    explicit MsgDispatcher(std::shared_ptr<UpdateQueue> queue);

    bool Register(ComponentType type, zef::RefPtr<Component> component);
    bool Unregister(const zef::RefPtr<Component>& component);
    // Puts the loop on the work group; called last of the start.
    void Start();
    // Ends the loop: the queue wakes it with nothing.
    void Stop();

    // The loop; public for the work item.
    void Run();
    // Hands one transaction to its components, on the calling thread.
    void Dispatch(Transaction& transaction);

private:
    zef::RefPtr<Component> Find(ComponentType type);

    std::shared_ptr<UpdateQueue> _queue;
    // Unregister at stop runs beside the loop, hence the lock; the loop holds
    // it only to look a component up, never across a delivery.
    std::mutex _mutex;
    std::unordered_map<uint32_t, zef::RefPtr<Component>, ComponentHash> _components;
    std::atomic<bool> _running{false};
};

}  // namespace CfgAgent
