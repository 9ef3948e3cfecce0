#pragma once

#include <memory>
#include <mutex>

namespace CfgAgent {

// The process-wide recursive lock of the tables and applications. Order: a
// link's mutex before it; it before any table's, application's, queue's or
// the work group's own mutex.
std::recursive_mutex& agentLock();

// The lock's handle, for owners that must keep it alive past static teardown.
std::shared_ptr<std::recursive_mutex> agentLockHandle();

}  // namespace CfgAgent
