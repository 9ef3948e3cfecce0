#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "l2/codec/VxlanGroupAssociation.h"

namespace CfgAgent {

class L2TlvBatch;

// The VTEP groups the store defines and which switches and routing domains
// use each in the kernel. The kernel holds a group while something uses it.
// Users are counted by name, so that sending a switch's state again after a
// new session or a second join does not count it twice.
class L2VtepGroups {
public:
    struct Group {
        std::set<std::string> users;  // switches and domains, serialized ids
        uint32_t switchId = 0;  // to which instance it was last sent
        uint32_t type = 0;
        std::string value;  // the store's group message, serialized
        bool deleted = false;  // deleted by the store, kept while in use
    };

    // A transport node group: (label >> 17) & 3 is 2.
    static bool IsTransportNodeLabel(uint32_t label) { return ((label >> 17) & 3) == 2; }

    // A group record of the store.
    void OnGroupRecord(const LoftDBUpdateMsg& record, L2TlvBatch& batch);
    // A switch or domain `user` starts using a group: false when there is no such group.
    bool Associate(const std::string& user, const VxlanGroupAssociation& association, uint32_t switchId,
                   L2TlvBatch& batch);
    // It stops: false when there is no such group.
    bool Disassociate(const std::string& user, VxlanGroupAssociation association, L2TlvBatch& batch);
    // The kernel dropped what a user had, or everything: nothing to send.
    void ForgetUser(const std::string& user);
    // The groups a switch or domain uses.
    std::vector<uint32_t> LabelsOf(const std::string& user) const;
    void ForgetUsers();
    // The group as an update, for a switch's full sync; false when unknown.
    bool AddGroupTlv(uint32_t label, L2TlvBatch& batch) const;

    const Group* Find(uint32_t label) const;
    const std::map<uint32_t, Group>& All() const { return _groups; }

private:
    void Send(uint32_t label, const Group& group, bool deleted, L2TlvBatch& batch) const;
    // Drops a deleted group that nothing uses any more.
    void EraseIfDone(std::map<uint32_t, Group>::iterator it);

    std::map<uint32_t, Group> _groups;
};

}  // namespace CfgAgent
