#include "port/session/PortApplication.h"

#include "cache/StateCacheConfigTable.h"
#include "port/session/ConfigApp.h"
#include "store/MsgDispatcher.h"
#include "zef/upm/UPMService.h"

namespace CfgAgent {

PortApplication::PortApplication(zef::RefPtr<StateCacheConfigTable> configTable,
                                 zef::RefPtr<MsgDispatcher> dispatcher, ILoftdbClient& loftdbClient,
                                 zef::AsioZefProvider* provider, std::shared_ptr<zef::upm::UPMService> upm)
    : _app(zef::MakeRef<ConfigApp>(std::move(configTable), std::move(dispatcher), loftdbClient, provider,
                                   std::move(upm))) {}

PortApplication::~PortApplication() = default;

void PortApplication::Start(const boost::property_tree::ptree& config) { _app->Init(config); }

void PortApplication::LateStart() { _app->Start(); }

void PortApplication::Stop() { _app->Stop(); }

}  // namespace CfgAgent
