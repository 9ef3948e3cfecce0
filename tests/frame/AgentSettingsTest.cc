#include <gtest/gtest.h>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <sstream>
#include <thread>

#include "frame/AgentSettings.h"
#include "frame/AppEntry.h"

namespace {

boost::property_tree::ptree Parse(const std::string& xml) {
    std::istringstream in(xml);
    boost::property_tree::ptree tree;
    boost::property_tree::read_xml(in, tree,
                                   boost::property_tree::xml_parser::no_comments |
                                       boost::property_tree::xml_parser::trim_whitespace);
    return tree;
}

TEST(AgentSettingsTest, AbsentKeysTakeTheirDefaults) {
    CfgAgent::AgentSettings s = CfgAgent::AgentSettings::Read(Parse("<config/>"));
    EXPECT_EQ(s.ioThreads, static_cast<int>(std::thread::hardware_concurrency()));
    EXPECT_EQ(s.workThreads, 32);
    EXPECT_EQ(s.logLevel, 4);
    EXPECT_TRUE(s.outputToConsole);
    EXPECT_EQ(s.workflowTraceLevel, 2);
    EXPECT_EQ(s.workflowLogLevel, 4);
    for (int level : {s.metricsLogLevel, s.netLogLevel, s.rpcLogLevel, s.loftdbLogLevel,
                      s.upmLogLevel, s.cradleLogLevel, s.dfwLogLevel, s.idsLogLevel,
                      s.shaLogLevel}) {
        EXPECT_EQ(level, 4);
    }
    EXPECT_FALSE(s.instrumentConfigCache || s.instrumentL2Cache || s.instrumentL3Cache ||
                 s.instrumentLoftdbClient);
}

TEST(AgentSettingsTest, PresentKeysAreReadAndBadValuesFallBack) {
    CfgAgent::AgentSettings s = CfgAgent::AgentSettings::Read(Parse(R"(
        <config>
          <log><level>6</level><outputToConsole>false</outputToConsole><rpc>2</rpc>
               <dfw>many</dfw><sha> 5 </sha>
               <workflow_tracing><trace_level>x</trace_level><log_level>1</log_level></workflow_tracing>
          </log>
          <cfgAgent>
            <workGroup><ioThreads>3</ioThreads><workThreads>8.5</workThreads></workGroup>
            <debug><instrument><config_cache>true</config_cache><l2_cache>1</l2_cache>
                   <l3_cache>perhaps</l3_cache><loftdb_client>false</loftdb_client></instrument></debug>
          </cfgAgent>
        </config>)"));
    EXPECT_EQ(s.logLevel, 6);
    EXPECT_FALSE(s.outputToConsole);
    EXPECT_EQ(s.rpcLogLevel, 2);
    EXPECT_EQ(s.dfwLogLevel, 4);
    EXPECT_EQ(s.shaLogLevel, 5);
    EXPECT_EQ(s.workflowTraceLevel, 2);
    EXPECT_EQ(s.workflowLogLevel, 1);
    EXPECT_EQ(s.ioThreads, 3);
    EXPECT_EQ(s.workThreads, 32);
    EXPECT_TRUE(s.instrumentConfigCache);
    EXPECT_TRUE(s.instrumentL2Cache);
    EXPECT_FALSE(s.instrumentL3Cache);
    EXPECT_FALSE(s.instrumentLoftdbClient);
}

TEST(AppEntryTest, EntriesComeInFileOrderWithTheirOwnSettings) {
    auto tree = Parse(R"(
        <apps>
          <first><name>vxlan</name><enabled>true</enabled><config><mtu>9000</mtu></config></first>
          <x><enabled>yes</enabled><config/></x>
          <app><name>config</name><config/></app>
        </apps>)");
    auto entries = CfgAgent::AppEntry::ReadAll(tree.get_child("apps"));
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].name, "vxlan");
    EXPECT_TRUE(entries[0].enabled);
    EXPECT_EQ(entries[0].config.get<int>("mtu"), 9000);
    EXPECT_EQ(entries[1].name, "");
    EXPECT_FALSE(entries[1].enabled);
    EXPECT_EQ(entries[2].name, "config");
    EXPECT_FALSE(entries[2].enabled);
}

TEST(AppEntryTest, ConfigIsMandatoryEvenForADisabledEntry) {
    auto tree = Parse("<apps><app><name>bfd</name><enabled>false</enabled></app></apps>");
    EXPECT_THROW(CfgAgent::AppEntry::ReadAll(tree.get_child("apps")),
                 boost::property_tree::ptree_bad_path);
}

}  // namespace
