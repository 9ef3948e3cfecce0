#pragma once

#include <functional>
#include <map>
#include <string>

#include "rpc.pb.h"

namespace zef::rpc {

// A named set of methods, each taking and giving one serialized message.
class Service {
public:
    using Status = RpcFrameMsg::Status;
    using Handler = std::function<Status(const std::string& request, std::string& response)>;

    explicit Service(std::string name) : _name(std::move(name)) {}
    virtual ~Service() = default;

    const std::string& Name() const { return _name; }
    Status Invoke(const std::string& method, const std::string& request,
                  std::string& response) const;

protected:
    // Binds a typed handler; a request that does not parse is refused.
    template <typename Request, typename Response>
    void AddMethod(const std::string& method, std::function<bool(const Request&, Response&)> fn) {
        _methods[method] = [fn = std::move(fn)](const std::string& in, std::string& out) {
            Request request;
            if (!request.ParseFromString(in)) {
                return RpcFrameMsg::BAD_REQUEST;
            }
            Response response;
            if (!fn(request, response)) {
                return RpcFrameMsg::INTERNAL;
            }
            out = response.SerializeAsString();
            return RpcFrameMsg::OK;
        };
    }

private:
    std::string _name;
    std::map<std::string, Handler> _methods;
};

}  // namespace zef::rpc
