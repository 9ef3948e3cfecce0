#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "ControlServer.h"
#include "JsonPtr.h"
#include "Simulator.h"

namespace {

constexpr const char* kUsage =
    "usage: dpsim --link NAME[:kcp] [--link NAME[:kcp] ...] --record FILE\n"
    "             [--control PATH]\n"
    "       dpsim ctl [--control PATH] COMMAND...\n"
    "\n"
    "Stands in for the kernel's end of the agent's dataplane links.\n"
    "Each link listens on the Unix stream socket\n"
    "  $ZEF_HOST_ROOT/var/run/halden/dplink/NAME\n"
    "and takes one agent connection at a time; a new one replaces the old.\n"
    "Messages are framed by the big-endian length in their bytes 2 and 3.\n"
    "\n"
    "Every message, in either direction, is appended to FILE as one JSON line:\n"
    "  time (UTC), link, dir (in: from the agent; out), type, decoded fields,\n"
    "  dump, hex; a message that does not decode carries \"error\".\n"
    "\n"
    "KCP answers (the only protocol so far):\n"
    "  Session Open     -> Session Open ACK, then Session Full Sync End, same ID\n"
    "  DP Status Query  -> DP Status Notification saying Sync\n"
    "\n"
    "Prints \"dpsim serving NAME\" for each link once it accepts connections,\n"
    "and runs until SIGINT or SIGTERM.\n"
    "\n"
    "Control: the simulator also listens on the Unix stream socket PATH\n"
    "(default $ZEF_HOST_ROOT/var/run/halden/dpsim/control) for one command per\n"
    "line and answers each with one JSON line, {\"ok\":true,...} or\n"
    "{\"ok\":false,\"error\":\"...\"}. \"dpsim ctl\" sends one command and prints\n"
    "the answer; it exits 0 when ok, 1 when not, 3 when the socket cannot be\n"
    "reached. Commands:\n"
    "  inject LINK HEX          send these bytes to the agent as they are\n"
    "  vif LINK connect VIF_ID  send the VIF Update of a VNIC connecting and keep\n"
    "                           the VIF: every later Session Open reports the\n"
    "                           kept VIFs before the Full Sync End\n"
    "  vif LINK disconnect VIF_ID\n"
    "                           send the VIF Update of its disconnect; forget it\n"
    "  outofsync LINK           send a DP Status Notification saying OutOfSync\n"
    "  drop LINK                close the agent's connection\n"
    "  refuse LINK SECONDS      accept and close at once, recording nothing,\n"
    "                           every connection for that long\n"
    "  status                   per link: connected, VIFs, messages in and out\n"
    "What is sent is recorded as \"out\"; without a connected agent, inject,\n"
    "outofsync and drop fail, and vif only keeps the VIF (\"sent\":false).\n";

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

void PrintServing(const std::string& name) {
    std::printf("dpsim serving %s\n", name.c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "ctl") == 0) {
        return Control(argc, argv);
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
            std::string value = argv[++i];
            if (arg == "--record") {
                record = value;
                continue;
            }
            const size_t colon = value.rfind(':');
            if (colon != std::string::npos) {
                if (value.substr(colon + 1) != "kcp") {
                    std::fprintf(stderr, "dpsim: unsupported protocol in --link %s\n", value.c_str());
                    return 2;
                }
                value.resize(colon);
            }
            if (value.empty()) {
                std::fputs("dpsim: empty link name\n", stderr);
                return 2;
            }
            links.push_back(value);
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
