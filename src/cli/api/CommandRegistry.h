#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace CfgAgent {

// What a command answers: the reply text, or a failure's fixed text.
struct CommandReply {
    CommandReply(std::string replyText) : text(std::move(replyText)) {}  // NOLINT: a text is a reply
    static CommandReply Failure(std::string replyText) {
        CommandReply reply(std::move(replyText));
        reply.failed = true;
        return reply;
    }

    std::string text;
    bool failed = false;
};

// The answers of the command socket, supplied by the owners of the data they
// show: the tables, the applications and the command server itself. The
// server registers, in its own fixed order, the names someone answers.
class CommandRegistry {
public:
    // The arguments after the command's name.
    using Args = std::vector<std::string>;
    using Handler = std::function<CommandReply(const Args& args)>;

    // A second handler for a name replaces the first.
    void Add(const std::string& name, Handler handler) { _handlers[name] = std::move(handler); }
    const Handler* Find(const std::string& name) const {
        auto it = _handlers.find(name);
        return it != _handlers.end() ? &it->second : nullptr;
    }
    size_t Size() const { return _handlers.size(); }

private:
    std::map<std::string, Handler> _handlers;
};

}  // namespace CfgAgent
