#pragma once

#include "frame/Application.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

class L2App;
class MsgDispatcher;
class StateCacheConfigTable;
class StateCacheL2Table;

// The "vxlan" application: the overlay session with the kernel.
class L2Application : public Application {
public:
    L2Application(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<StateCacheL2Table> l2Table,
                  zef::RefPtr<MsgDispatcher> dispatcher);
    ~L2Application() override;

    void Start(const boost::property_tree::ptree& config) override;
    void LateStart() override;
    void Stop() override;

    const zef::RefPtr<L2App>& App() const { return _app; }

private:
    zef::RefPtr<L2App> _app;
};

}  // namespace CfgAgent
