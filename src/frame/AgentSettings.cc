#include "frame/AgentSettings.h"

#include <boost/property_tree/ptree.hpp>
#include <thread>

namespace CfgAgent {

namespace {

// ptree's get with a default also falls back when the text does not convert.
template <typename T>
void ReadKey(const boost::property_tree::ptree& root, const char* key, T& value) {
    value = root.get<T>(key, value);
}

}  // namespace

AgentSettings AgentSettings::Read(const boost::property_tree::ptree& root) {
    AgentSettings s;
    s.ioThreads = static_cast<int>(std::thread::hardware_concurrency());
    ReadKey(root, "config.cfgAgent.workGroup.ioThreads", s.ioThreads);
    ReadKey(root, "config.cfgAgent.workGroup.workThreads", s.workThreads);
    ReadKey(root, "config.log.level", s.logLevel);
    ReadKey(root, "config.log.outputToConsole", s.outputToConsole);
    ReadKey(root, "config.log.metrics", s.metricsLogLevel);
    ReadKey(root, "config.log.net", s.netLogLevel);
    ReadKey(root, "config.log.rpc", s.rpcLogLevel);
    ReadKey(root, "config.log.loftdb", s.loftdbLogLevel);
    ReadKey(root, "config.log.upm", s.upmLogLevel);
    ReadKey(root, "config.log.cradle", s.cradleLogLevel);
    ReadKey(root, "config.log.dfw", s.dfwLogLevel);
    ReadKey(root, "config.log.ids", s.idsLogLevel);
    ReadKey(root, "config.log.workflow_tracing.trace_level", s.workflowTraceLevel);
    ReadKey(root, "config.log.workflow_tracing.log_level", s.workflowLogLevel);
    ReadKey(root, "config.log.sha", s.shaLogLevel);
    ReadKey(root, "config.cfgAgent.debug.instrument.config_cache", s.instrumentConfigCache);
    ReadKey(root, "config.cfgAgent.debug.instrument.l2_cache", s.instrumentL2Cache);
    ReadKey(root, "config.cfgAgent.debug.instrument.l3_cache", s.instrumentL3Cache);
    ReadKey(root, "config.cfgAgent.debug.instrument.loftdb_client", s.instrumentLoftdbClient);
    return s;
}

}  // namespace CfgAgent
