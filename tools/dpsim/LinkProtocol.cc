#include "LinkProtocol.h"

#include "KcpProtocol.h"
#include "RtxProtocol.h"
#include "SwsecProtocol.h"
#include "VxlanProtocol.h"

namespace Dpsim {

std::unique_ptr<LinkProtocol> LinkProtocol::Create(const std::string& name) {
    if (name == "kcp") {
        return std::make_unique<KcpProtocol>();
    }
    if (name == "swsec") {
        return std::make_unique<SwsecProtocol>();
    }
    if (name == "vxlan") {
        return std::make_unique<VxlanProtocol>();
    }
    if (name == "rtx") {
        return std::make_unique<RtxProtocol>();
    }
    return nullptr;
}

}  // namespace Dpsim
