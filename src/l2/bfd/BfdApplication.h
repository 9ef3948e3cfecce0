#pragma once

#include "frame/Application.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

class BFDTableApp;
class L2App;
class MsgDispatcher;
class StateCacheConfigTable;
class StateCacheL2Table;

// The "bfd" application: the BFD sessions of the overlay, sent on the
// overlay application's session.
class BfdApplication : public Application {
public:
    BfdApplication(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<StateCacheL2Table> l2Table,
                   zef::RefPtr<L2App> l2App, zef::RefPtr<MsgDispatcher> dispatcher);
    ~BfdApplication() override;

    void Start(const boost::property_tree::ptree& config) override;
    void Stop() override;

    const zef::RefPtr<BFDTableApp>& App() const { return _app; }

private:
    zef::RefPtr<BFDTableApp> _app;
};

}  // namespace CfgAgent
