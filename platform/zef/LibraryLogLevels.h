#pragma once

#include <atomic>

// Each host library gates its own log lines on one of these; main sets them
// from the configuration.
namespace zef::metrics { extern std::atomic<int> library_log_level; }
namespace zef::net { extern std::atomic<int> library_log_level; }
namespace zef::rpc { extern std::atomic<int> library_log_level; }
namespace zef::loftdb { extern std::atomic<int> library_log_level; }
namespace zef::wft { extern std::atomic<int> library_log_level; }
namespace zef::sha { extern std::atomic<int> library_log_level; }
namespace zef::upm { extern std::atomic<int> library_log_level; }
