#include "l2/app/L2Application.h"

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "l2/app/L2App.h"
#include "store/MsgDispatcher.h"

namespace CfgAgent {

L2Application::L2Application(zef::RefPtr<StateCacheConfigTable> configTable,
                             zef::RefPtr<StateCacheL2Table> l2Table, zef::RefPtr<MsgDispatcher> dispatcher)
    : _app(zef::MakeRef<L2App>(std::move(configTable), std::move(l2Table), std::move(dispatcher))) {}

L2Application::~L2Application() = default;

void L2Application::Start(const boost::property_tree::ptree& config) { _app->Init(config); }

void L2Application::LateStart() { _app->Start(); }

void L2Application::Stop() { _app->Stop(); }

}  // namespace CfgAgent
