#include "zef/rpc/Service.h"

namespace zef::rpc {

Service::Status Service::Invoke(const std::string& method, const std::string& request,
                                std::string& response) const {
    auto it = _methods.find(method);
    if (it == _methods.end()) {
        return RpcFrameMsg::NO_SUCH_METHOD;
    }
    return it->second(request, response);
}

}  // namespace zef::rpc
