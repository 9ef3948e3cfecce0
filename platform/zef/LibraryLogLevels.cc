#include "zef/LibraryLogLevels.h"

namespace zef::metrics { std::atomic<int> library_log_level{4}; }
namespace zef::net { std::atomic<int> library_log_level{4}; }
namespace zef::rpc { std::atomic<int> library_log_level{4}; }
namespace zef::loftdb { std::atomic<int> library_log_level{4}; }
namespace zef::wft { std::atomic<int> library_log_level{4}; }
namespace zef::sha { std::atomic<int> library_log_level{4}; }
namespace zef::upm { std::atomic<int> library_log_level{4}; }
