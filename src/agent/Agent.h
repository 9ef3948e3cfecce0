#pragma once

#include <functional>
#include <string>

namespace CfgAgent {

// The process: start in a fixed order, run the provider's loop until told to
// stop, stop in the reverse order of dependence. Returns main's status.
class Agent {
public:
    static int Main(int argc, char** argv);

private:
    static bool ParseCommandLine(int argc, char** argv, std::string& configPath);
    static bool LoadConfiguration(const std::string& path);
    static void ApplyLogSettings();
    static void IgnoreSigpipe();
    static void EnableCoreDump();
    // `providerStands` is called once the provider, which takes the stop
    // signals from then on, exists.
    static int Run(const std::function<void()>& providerStands);
};

}  // namespace CfgAgent
