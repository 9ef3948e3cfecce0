#include "l2/bfd/BfdApplication.h"

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "l2/app/L2App.h"
#include "l2/bfd/BFDTableApp.h"
#include "store/MsgDispatcher.h"

namespace CfgAgent {

BfdApplication::BfdApplication(zef::RefPtr<StateCacheConfigTable> configTable,
                               zef::RefPtr<StateCacheL2Table> l2Table, zef::RefPtr<L2App> l2App,
                               zef::RefPtr<MsgDispatcher> dispatcher)
    : _app(zef::MakeRef<BFDTableApp>(std::move(configTable), std::move(l2Table), std::move(l2App),
                                     std::move(dispatcher))) {}

BfdApplication::~BfdApplication() = default;

void BfdApplication::Start(const boost::property_tree::ptree&) { _app->Start(); }

void BfdApplication::Stop() { _app->Stop(); }

}  // namespace CfgAgent
