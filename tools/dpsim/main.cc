#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Simulator.h"

namespace {

constexpr const char* kUsage =
    "usage: dpsim --link NAME[:kcp] [--link NAME[:kcp] ...] --record FILE\n"
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
    "and runs until SIGINT or SIGTERM.\n";

void PrintServing(const std::string& name) {
    std::printf("dpsim serving %s\n", name.c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> links;
    std::string record;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
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
    int signal = 0;
    sigwait(&stopSignals, &signal);
    simulator.Stop();
    return 0;
}
