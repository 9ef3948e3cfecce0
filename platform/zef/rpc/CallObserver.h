#pragma once

#include <string>

#include "rpc.pb.h"

namespace zef::rpc {

// Hears how one call ends: a response and then OnClose(OK); OnClose with the
// peer's status when it refused the call; OnFailure when no answer came.
template <typename Response>
class CallObserver {
public:
    using Status = RpcFrameMsg::Status;

    virtual ~CallObserver() = default;
    virtual void OnResponse(const Response& response) = 0;
    virtual void OnClose(Status status) = 0;
    virtual void OnFailure(Status status, const std::string& why) = 0;
};

}  // namespace zef::rpc
