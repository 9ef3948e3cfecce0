#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <string>

namespace CfgAgent {

// The agent's own keys of the configuration file, with their defaults. A key
// that is absent, or present but not convertible, takes its default.
struct AgentSettings {
    int ioThreads = 0;  // the hardware concurrency unless set
    int workThreads = 32;

    int logLevel = 4;
    bool outputToConsole = true;
    int metricsLogLevel = 4;
    int netLogLevel = 4;
    int rpcLogLevel = 4;
    int loftdbLogLevel = 4;
    int upmLogLevel = 4;
    int cradleLogLevel = 4;
    int dfwLogLevel = 4;
    int idsLogLevel = 4;
    int workflowTraceLevel = 2;
    int workflowLogLevel = 4;
    int shaLogLevel = 4;

    bool instrumentConfigCache = false;
    bool instrumentL2Cache = false;
    bool instrumentL3Cache = false;
    bool instrumentLoftdbClient = false;

    static AgentSettings Read(const boost::property_tree::ptree& root);
};

}  // namespace CfgAgent
