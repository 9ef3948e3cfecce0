#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CfgAgent {

// What the BFD sessions need of the L2 application: its switch IDs, its link
// within its session, and three moments to be told of.
class IL2App {
public:
    using Bytes = std::vector<uint8_t>;
    // After the kernel's full sync, once the routing state went out.
    using FullSyncCallback = std::function<void()>;
    // A logical switch's VNI joined (true) or left (false).
    using VniChangeCallback = std::function<void(const std::string& switchId, bool joined)>;
    // The logical switch of a VNI learnt (true) or forgotten (false).
    using LsVniCallback = std::function<void(const std::string& switchId, uint32_t vni, bool add)>;

    virtual void SetBfdCallbacks(FullSyncCallback fullSync, VniChangeCallback vniChange,
                                 LsVniCallback lsVni) = 0;
    // The instance switch ID of a joined VNI.
    virtual bool SwitchIdOfVni(uint32_t vni, uint32_t& switchId) const = 0;
    // Only once the domain has one, that is below 0xFFFFFFFF.
    virtual bool SwitchIdOfRoutingDomain(const std::string& domainId, uint32_t& switchId) const = 0;
    // Finished messages, each sent as it is.
    virtual void SendMessages(const std::vector<Bytes>& messages) = 0;
    // Data TLVs, each wrapped in an Update message of its own.
    virtual void SendUpdateTlvs(const std::vector<Bytes>& tlvs) = 0;

protected:
    ~IL2App() = default;
};

}  // namespace CfgAgent
