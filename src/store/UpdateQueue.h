#pragma once

#include <memory>

#include "frame/MsgQueue.h"
#include "frame/vocabulary/Transaction.h"

namespace CfgAgent {

// The queue between the store client and the dispatcher: one closed store
// transaction per element, no limit, blocking.
using UpdateQueue = MsgQueue<std::unique_ptr<Transaction>>;

}  // namespace CfgAgent
