#pragma once

#include <memory>

#include "frame/Application.h"
#include "zef/RefPtr.h"

namespace zef {
class AsioZefProvider;
}
namespace zef::upm {
class UPMService;
}

namespace CfgAgent {

class ConfigApp;
class ILoftdbClient;
class MsgDispatcher;
class StateCacheConfigTable;

// The "config" application: the port session with the kernel.
class PortApplication : public Application {
public:
    PortApplication(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<MsgDispatcher> dispatcher,
                    ILoftdbClient& loftdbClient, zef::AsioZefProvider* provider,
                    std::shared_ptr<zef::upm::UPMService> upm);
    ~PortApplication() override;

    void Start(const boost::property_tree::ptree& config) override;
    void LateStart() override;
    void Stop() override;

    const zef::RefPtr<ConfigApp>& App() const { return _app; }

private:
    zef::RefPtr<ConfigApp> _app;
};

}  // namespace CfgAgent
