#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "port/kcp/KcpUplinkRecord.h"
#include "port/kcp/KcpVifRecord.h"

namespace Dpsim {

// The KEY=VALUE options and bare flags that follow the ID in the VIF and
// uplink commands. Each parser starts at `first` and fills what the options
// name, leaving the rest as the caller set it.
class KcpCommandOptions {
public:
    // port= switch= type= parent= mac=(repeatable) binding=(repeatable)
    // pieces= smartnic
    static bool ParseVif(const std::vector<std::string>& words, size_t first,
                         CfgAgent::KcpVifRecord& record, size_t& pieces, std::string& error);
    // switch= name= alias=
    static bool ParseUplink(const std::vector<std::string>& words, size_t first,
                            CfgAgent::KcpUplinkRecord& uplink, std::string& error);
    // vnic, taknic, container, crxport, sriov, dvpgport, or the number.
    static bool ParseVifType(const std::string& text, uint8_t& type);
    static bool ParseNumber(const std::string& text, unsigned long max, unsigned long& number);
};

}  // namespace Dpsim
