#pragma once

#include <memory>
#include <string>
#include <vector>

#include "LinkProtocol.h"
#include "LinkServer.h"
#include "RecordFile.h"

namespace Dpsim {

// The dataplane as the agent sees it: one served link per name, all writing
// to one record file.
class Simulator {
public:
    // Each link is "NAME" (the port control protocol), "NAME:PROTOCOL", or
    // ":PROTOCOL" for that protocol's default link name.
    Simulator(std::vector<std::string> links, const std::string& recordPath);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Serves every link or none; `error` says what failed. `onServing` is
    // called with each link's name as soon as it accepts connections.
    bool Start(std::string& error, void (*onServing)(const std::string& name) = nullptr);
    void Stop();

    // The served link of that name; null when there is none.
    LinkServer* Find(const std::string& name);
    const std::vector<std::unique_ptr<LinkServer>>& Links() const { return _servers; }

    // Where the agent looks for the link `name`, under the host root.
    static std::string SocketPath(const std::string& name);
    // The served name and the protocol of one link argument; null with
    // `error` set when either is not usable.
    static std::unique_ptr<LinkProtocol> ParseLink(const std::string& link, std::string& name,
                                                   std::string& error);

private:
    std::vector<std::string> _names;
    RecordFile _record;
    std::vector<std::unique_ptr<LinkServer>> _servers;
};

}  // namespace Dpsim
