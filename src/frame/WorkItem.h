#pragma once

#include <cstdint>

namespace CfgAgent {

// A job for the work group; most are loops that hold a thread for the life of
// the process.
class WorkItem {
public:
    virtual ~WorkItem() = default;
    virtual void Run() = 0;

    // Steady-clock nanoseconds at enqueue, written by the group.
    int64_t enqueueTime = 0;
};

}  // namespace CfgAgent
