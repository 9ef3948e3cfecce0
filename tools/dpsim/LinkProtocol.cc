#include "LinkProtocol.h"

#include "KcpCommandOptions.h"
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

LinkProtocol::CommandResult LinkProtocol::Failure(std::string error) {
    CommandResult result;
    result.error = std::move(error);
    return result;
}

bool LinkProtocol::Number(const std::string& text, uint32_t& number) {
    unsigned long value = 0;
    if (!KcpCommandOptions::ParseNumber(text, 0xFFFFFFFF, value)) {
        return false;
    }
    number = static_cast<uint32_t>(value);
    return true;
}

}  // namespace Dpsim
