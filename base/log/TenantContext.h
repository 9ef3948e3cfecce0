#pragma once

#include <string>

namespace halden::zef::loftdb {
class TenantContextMsg;
}

namespace CfgAgent {

// The tenant of the object a thread works on, printed into its log lines.
// Each text keeps at most eight characters. Used as a bracket: construct
// from the object's TenantContextMsg, and the destructor pops what it pushed.
class TenantContext {
public:
    static constexpr int kStackDepth = 10;
    static constexpr int kTextMax = 8;

    explicit TenantContext(const halden::zef::loftdb::TenantContextMsg& msg);
    ~TenantContext();
    TenantContext(const TenantContext&) = delete;
    TenantContext& operator=(const TenantContext&) = delete;

    const char* Org() const { return _org[0] ? _org : nullptr; }
    const char* Proj() const { return _proj[0] ? _proj : nullptr; }
    const char* Vpc() const { return _vpc[0] ? _vpc : nullptr; }

    // The entry on top of this thread's stack, or null.
    static const TenantContext* Top();
    // The text the log line carries for the top entry; empty without one.
    static std::string LogText();

private:
    char _org[kTextMax + 1] = {};
    char _proj[kTextMax + 1] = {};
    char _vpc[kTextMax + 1] = {};
    bool _pushed = false;
};

}  // namespace CfgAgent
