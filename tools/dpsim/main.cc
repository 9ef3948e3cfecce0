#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ControlServer.h"
#include "JsonPtr.h"
#include "RecordReplay.h"
#include "Simulator.h"

namespace {

constexpr const char* kUsage =
    "usage: dpsim --link NAME[:PROTOCOL] [--link ...] --record FILE\n"
    "             [--control PATH]\n"
    "       dpsim ctl [--control PATH] COMMAND...\n"
    "       dpsim replay FILE LINK[:PROTOCOL]\n"
    "\n"
    "Stands in for the kernel modules at the far end of the agent's links.\n"
    "Each link listens on the Unix stream socket\n"
    "  $ZEF_HOST_ROOT/var/run/halden/dplink/NAME\n"
    "and takes one agent connection at a time; a new one replaces the old.\n"
    "Messages are framed by the big-endian length in their bytes 2 and 3.\n"
    "PROTOCOL is kcp (the default: the switching module's port control),\n"
    "swsec (the switch security module), vxlan (the overlay L2 module) or rtx\n"
    "(the distributed router module); \":swsec\", \":vxlan\" and \":rtx\" alone\n"
    "serve them under their default names swsec_taklink, zef_ovl2_taklink and\n"
    "zef_rtx_taklink.\n"
    "\n"
    "Every message, in either direction, is appended to FILE as one JSON line:\n"
    "  time (UTC), link, dir (in: from the agent; out), type, decoded fields,\n"
    "  dump (kcp), hex; a message the module would not take carries \"error\"\n"
    "  and changes nothing.\n"
    "\n"
    "kcp keeps the port table the agent's Updates build: port, taknic and host\n"
    "switch properties (operation 1 sets keys, an empty value removes one;\n"
    "2 removes the keys given, or the whole record when none are; 3 replaces\n"
    "the record's set), the port, container, taknic and host switch lists\n"
    "(each list message replaces its list), port container lists and\n"
    "containers. Updates split with the more bit are joined, a property's\n"
    "pieces by key, before they apply. It answers:\n"
    "  Session Open     -> Session Open ACK, every kept VIF and uplink, then\n"
    "                      Session Full Sync End, with the same session ID\n"
    "  DP Status Query  -> DP Status Notification saying Sync\n"
    "swsec keeps the last tools bindings (type 1) the agent sent per port.\n"
    "vxlan keeps per VNI what the agent programs (membership, link state,\n"
    "controller IP, configure items, VTEPs, MACs, IPs, ARP and ND entries,\n"
    "VTEP groups) and the routing domain, group and BFD tables; it refuses\n"
    "whole any message with a bad TLV or a VNI it never joined. It answers:\n"
    "  Session Open     -> ACK, instances, VNI joins, learned MACs and IPs,\n"
    "                      then Full Sync End, with the same session ID\n"
    "  State query      -> State report, in sync unless syncstate says out\n"
    "rtx keeps per router instance its LIFs, routes with next hops, ARP per LIF,\n"
    "DAD states, tunables and multicast, and the global settings, prefix lists\n"
    "and bridge endpoints; a soft flush marks a router's routes or LIFs stale\n"
    "until the end marker drops those not sent again, and routers or bridge\n"
    "endpoints not sent between a full sync's markers are gone. It refuses\n"
    "whole any message with a malformed entry or an unknown router.\n"
    "\n"
    "Prints \"dpsim serving NAME\" for each link once it accepts connections,\n"
    "and runs until SIGINT or SIGTERM.\n"
    "\n"
    "Control: the simulator also listens on the Unix stream socket PATH\n"
    "(default $ZEF_HOST_ROOT/var/run/halden/dpsim/control) for one command per\n"
    "line and answers each with one JSON line, {\"ok\":true,...} or\n"
    "{\"ok\":false,\"error\":\"...\"}. \"dpsim ctl\" sends one command and prints\n"
    "the answer; it exits 0 when ok, 1 when not, 3 when the socket cannot be\n"
    "reached. Commands for any link:\n"
    "  status                   per link: protocol, connected, messages in and\n"
    "                           out, kept VIFs and uplinks (kcp), bound ports\n"
    "                           (swsec)\n"
    "  ports [LINK]             per link: the kcp port table (ports with their\n"
    "                           properties by key, hex and decoded text or\n"
    "                           number, \"blocked\" from key 101, \"listed\";\n"
    "                           taknics; hds; portContainers; containers), or\n"
    "                           the swsec bindings by port\n"
    "  inject LINK HEX          send these bytes to the agent as they are\n"
    "  drop LINK                close the agent's connection\n"
    "  refuse LINK SECONDS      accept and close at once, recording nothing,\n"
    "                           every connection for that long\n"
    "kcp links:\n"
    "  vif LINK connect VIF_ID [OPTION...]\n"
    "                           send the VIF Update of a VIF connecting and keep\n"
    "                           the VIF for every later Session Open. Options:\n"
    "                           port=ID (default the VIF ID), switch=ID,\n"
    "                           type=vnic|taknic|container|crxport|sriov|\n"
    "                           dvpgport|N (default vnic), parent=VIF_ID,\n"
    "                           mac=MAC (repeatable),\n"
    "                           binding=IP/MAC/VLAN/METHOD[/TIMESTAMP]\n"
    "                           (repeatable), smartnic, pieces=N: split the\n"
    "                           report into N messages with the more bit, each\n"
    "                           holding the record head and one slice of the\n"
    "                           bindings (or, without bindings, the MACs)\n"
    "  vif LINK connect-file FILE\n"
    "                           connect every VIF of FILE in one command, one\n"
    "                           per line as \"VIF_ID [OPTION...]\" (the words\n"
    "                           after connect); a bad line keeps none of them.\n"
    "                           The simulator reads FILE: give an absolute path\n"
    "  vif LINK disconnect VIF_ID [hotmove]\n"
    "                           send the VIF Update of its disconnect; forget it\n"
    "  uplink LINK add UPLINK_PORT_ID [switch=ID] [name=CLIENT] [alias=ALIAS]\n"
    "                           send an Uplink Update and keep the uplink\n"
    "                           (name defaults to the port ID)\n"
    "  uplink LINK remove UPLINK_PORT_ID\n"
    "                           send its Uplink Update of delete; forget it\n"
    "  outofsync LINK           send a DP Status Notification saying OutOfSync\n"
    "  notify LINK portprop VIF_ID\n"
    "  notify LINK taknicprop NAME\n"
    "  notify LINK containersync VIF_ID SYNC_TYPE\n"
    "                           send that OutOfSync or fullSync Notification\n"
    "  stale LINK on|off        answer Session Opens with the session ID before\n"
    "                           the one asked for\n"
    "swsec links:\n"
    "  solicit LINK VIF_ID      send the solicitation (type 2) for the VIF\n"
    "vxlan links (ports LINK dumps the tables per VNI):\n"
    "  vni LINK join VNI|FIRST-LAST [SWITCH_ID] | vni LINK leave VNI\n"
    "  mac LINK learn VNI MAC [vtep=IP] [label=N] [vtepmac=MAC]\n"
    "  mac LINK age VNI MAC\n"
    "  vtep LINK add|del VNI IP LABEL  the host's own VTEP of the VNI, reported\n"
    "                           now and in each session's report\n"
    "  arp LINK learn VNI IP MAC | arp LINK age VNI IP\n"
    "  query LINK mac|arp|nd VNI ENTRY...\n"
    "  tep LINK fault|active|recovery SWITCH_NAME TAKNIC [action=N] [state=N] [v6]\n"
    "  instance LINK join|leave SWITCH_ID\n"
    "  outofsync LINK           send a State report saying out of sync\n"
    "  syncstate LINK in|out    what State queries are answered with\n"
    "rtx links (ports LINK dumps the tables per router; status counts routes):\n"
    "  instance LINK join|leave|sync RTX_ID|all   send an instance report\n"
    "  dad LINK LIF IP STATUS [VERSION]           send a DAD report\n"
    "What is sent is recorded as \"out\"; without a connected agent, inject,\n"
    "drop, outofsync, notify and solicit fail, while vif, uplink and stale only\n"
    "change what is kept (\"sent\":false).\n"
    "\n"
    "replay: feeds what the agent sent on LINK, as FILE recorded it, into a\n"
    "fresh module of that protocol and prints its view as \"ports\" would.\n";

int Control(int argc, char** argv) {
    std::string path = Dpsim::ControlServer::DefaultPath();
    std::string line;
    for (int i = 2; i < argc; ++i) {
        const std::string arg = argv[i];
        if (line.empty() && arg == "--control" && i + 1 < argc) {
            path = argv[++i];
            continue;
        }
        line += (line.empty() ? "" : " ") + arg;
    }
    if (line.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::string answer;
    std::string error;
    if (!Dpsim::ControlServer::Request(path, line, answer, error)) {
        std::fprintf(stderr, "dpsim ctl: %s\n", error.c_str());
        return 3;
    }
    std::printf("%s\n", answer.c_str());
    Dpsim::JsonPtr json(cJSON_Parse(answer.c_str()));
    return cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(json.get(), "ok")) ? 0 : 1;
}

int Replay(int argc, char** argv) {
    std::string name;
    std::string error;
    if (argc != 4) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::unique_ptr<Dpsim::LinkProtocol> protocol =
        Dpsim::Simulator::ParseLink(argv[3], name, error);
    if (!protocol) {
        std::fprintf(stderr, "dpsim: %s\n", error.c_str());
        return 2;
    }
    size_t messages = 0;
    if (!Dpsim::RecordReplay::Run(argv[2], name, *protocol, messages, error)) {
        std::fprintf(stderr, "dpsim replay: %s\n", error.c_str());
        return 1;
    }
    Dpsim::JsonPtr view(cJSON_CreateObject());
    cJSON_AddStringToObject(view.get(), "link", name.c_str());
    cJSON_AddStringToObject(view.get(), "protocol", protocol->Name());
    cJSON_AddNumberToObject(view.get(), "messages", static_cast<double>(messages));
    protocol->AddPorts(view.get());
    char* text = cJSON_PrintUnformatted(view.get());
    std::printf("%s\n", text != nullptr ? text : "{}");
    cJSON_free(text);
    return 0;
}

void PrintServing(const std::string& name) {
    std::printf("dpsim serving %s\n", name.c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "ctl") == 0) {
        return Control(argc, argv);
    }
    if (argc > 1 && std::strcmp(argv[1], "replay") == 0) {
        return Replay(argc, argv);
    }
    std::vector<std::string> links;
    std::string record;
    std::string control = Dpsim::ControlServer::DefaultPath();
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg == "--control" && i + 1 < argc) {
            control = argv[++i];
            continue;
        }
        if ((arg == "--link" || arg == "--record") && i + 1 < argc) {
            const std::string value = argv[++i];
            std::string name;
            std::string error;
            if (arg == "--record") {
                record = value;
            } else if (!Dpsim::Simulator::ParseLink(value, name, error)) {
                std::fprintf(stderr, "dpsim: %s\n", error.c_str());
                return 2;
            } else {
                links.push_back(value);
            }
            continue;
        }
        std::fprintf(stderr, "dpsim: unexpected argument %s\n\n%s", arg.c_str(), kUsage);
        return 2;
    }
    if (links.empty() || record.empty()) {
        std::fputs(kUsage, stderr);
        return 2;
    }

    // Blocked before any thread starts, so only sigwait below sees them.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    Dpsim::Simulator simulator(links, record);
    std::string error;
    if (!simulator.Start(error, PrintServing)) {
        std::fprintf(stderr, "dpsim: %s\n", error.c_str());
        return 1;
    }
    Dpsim::ControlServer controlServer(control, simulator);
    if (!controlServer.Start(error)) {
        std::fprintf(stderr, "dpsim: %s\n", error.c_str());
        return 1;
    }
    int signal = 0;
    sigwait(&stopSignals, &signal);
    controlServer.Stop();
    simulator.Stop();
    return 0;
}
