#pragma once

#include "loftdb_overlay.pb.h"
#include "loftdb_overlay_op.pb.h"
#include "loftdb_switching.pb.h"
#include "loftdb_switching_op.pb.h"

namespace zef::test {

inline halden::zef::loftdb::LogSwitchConfigMsg Switch(uint64_t id, uint32_t vni,
                                                      const std::string& name) {
    halden::zef::loftdb::LogSwitchConfigMsg object;
    object.mutable_id()->set_left(id);
    object.mutable_id()->set_right(id);
    object.set_vni(vni);
    if (!name.empty()) {
        object.set_switch_name(name);
    }
    return object;
}

// A VTEP entry keyed by its label; `ip` tells versions apart.
inline void AddVtep(halden::zef::loftdb::LogSwitchFibMsg& fib, uint32_t label, uint32_t ip) {
    auto* vtep = fib.add_vteps();
    vtep->mutable_vtep_label()->set_label(label);
    vtep->set_vtep_ip(ip);
}

inline halden::zef::loftdb::LogSwitchFibMsg Fib(uint64_t id) {
    halden::zef::loftdb::LogSwitchFibMsg fib;
    fib.mutable_id()->set_left(id);
    return fib;
}

}  // namespace zef::test
