#include "dplink/LinkSocket.h"

#include <cerrno>
#include <cstring>

#include "log/Logger.h"
#include "zef/taklink/TaklinkSocket.h"

namespace CfgAgent {

using zef::taklink::TaklinkSocket;

LinkSocket::~LinkSocket() {
    while (TaklinkSocket::Close(_fd) != 0) {
        const int error = errno;
        if (error != EINTR) {
            break;
        }
        CFG_LOG(LL_ERROR, "Could not close netlink connection: %1, retry", std::strerror(error))
            .Tag("errorCode:LCP00126");
    }
}

void LinkSocket::Shutdown() const { TaklinkSocket::Shutdown(_fd); }

}  // namespace CfgAgent
