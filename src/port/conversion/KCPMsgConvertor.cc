#include "port/conversion/KCPMsgConvertor.h"

#include <algorithm>
#include <utility>

#include "log/Logger.h"
#include "port/session/IConfigApp.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpDump.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

// Collects the records of one message until it is closed.
class Batches {
public:
    Batches(uint8_t operation, size_t head) : _operation(operation), _head(head) {}

    size_t budget = KCPMsgConvertor::kRecordBudget;

    void Add(KcpPropertyRecord record) { _open.push_back(std::move(record)); }
    void Close() {
        if (!_open.empty()) {
            _closed.push_back({_operation, std::move(_open)});
            _open.clear();
        }
        budget = KCPMsgConvertor::kRecordBudget;
    }
    // A value too long for any message goes in pieces, one message each.
    void AddInPieces(const std::string& id, const DPProperty& property) {
        const size_t piece = KCPMsgConvertor::kPieceBudget - _head;
        for (size_t at = 0; at < property.value.size(); at += piece) {
            const size_t size = std::min(piece, property.value.size() - at);
            KcpProperty part{property.type, {property.value.begin() + static_cast<long>(at),
                                             property.value.begin() + static_cast<long>(at + size)}};
            _closed.push_back({_operation, {KcpPropertyRecord{id, {std::move(part)}}}});
        }
        budget = KCPMsgConvertor::kRecordBudget - _head;
    }
    std::vector<KcpPropertyUpdate> Take() {
        Close();
        return std::move(_closed);
    }

private:
    const uint8_t _operation;
    const size_t _head;
    std::vector<KcpPropertyRecord> _open;
    std::vector<KcpPropertyUpdate> _closed;
};

size_t PropertySize(const DPProperty& property) {
    return property.value.size() + Tlv::kHeaderSize;
}

// Sends `count` messages made by `build`, the more bit on all but the last;
// false at the first that cannot be made, the ones before it stay sent.
template <typename Build>
bool SendSequence(KCPMsgConvertor& convertor, size_t count, Build build) {
    for (size_t i = 0; i < count; ++i) {
        std::vector<uint8_t> message;
        if (!build(i, i + 1 < count, message)) {
            return false;
        }
        convertor.SendMsg(message);
    }
    return true;
}

size_t GroupCount(size_t size, size_t perGroup) {
    return (size + perGroup - 1) / perGroup;
}

// Group `i` of `ids` cut in order into groups of `perGroup`.
std::vector<std::string> Group(const std::vector<std::string>& ids, size_t perGroup, size_t i) {
    const size_t first = std::min(ids.size(), i * perGroup);
    const size_t last = std::min(ids.size(), first + perGroup);
    return {ids.begin() + static_cast<long>(first), ids.begin() + static_cast<long>(last)};
}

size_t ContainerRecordSize(const ContainerInfo& container) {
    return KcpContainerUpdateCodec::kRecords.head +
           KcpContainerUpdateCodec::kEntrySize * container.entries.size();
}

// The running total leaves out the flag byte and the data TLV head, so a full
// message may pass the buffer by up to four bytes.
bool FitsAfter(size_t total, size_t recordSize) {
    return total + recordSize < KCPMsgConvertor::kLinkBuffer;
}

// The records of each Container Update. A record that fits no message would
// stall the packing, so it is logged and left out and `complete` turns false.
std::vector<std::vector<KcpContainerRecord>> PackContainers(std::vector<ContainerInfo> containers,
                                                            bool& complete) {
    std::vector<std::vector<KcpContainerRecord>> messages;
    size_t total = KCPMsgConvertor::kContainerTotalStart;
    for (ContainerInfo& container : containers) {
        const size_t size = ContainerRecordSize(container);
        if (!FitsAfter(KCPMsgConvertor::kContainerTotalStart, size)) {
            CFG_LOG(LL_ERROR,
                    "Container update of CIF %1 refused: %2 IP and MAC entries make a %3-byte "
                    "record, too large for any message",
                    container.cifId, container.entries.size(), size);
            complete = false;
            continue;
        }
        if (messages.empty() || !FitsAfter(total, size)) {
            messages.emplace_back();
            total = KCPMsgConvertor::kContainerTotalStart;
        }
        total += size;
        CFG_LOG(LL_DEBUG, "Send container update itemLen %1, allocLen %2, EntryNum %3", size, total,
                container.entries.size());
        messages.back().push_back(std::move(container));
    }
    return messages;
}

}  // namespace

bool KCPMsgConvertor::SendMsg(std::span<const uint8_t> message) {
    CFG_LOG(LL_DEBUG, "KCPMsgConvertor sends message to dataplane");
    KcpDump::Log(LL_DEBUG, message);
    return _owner.SendToDP(message);
}

uint8_t KCPMsgConvertor::OperationByte(uint32_t operation) {
    switch (operation) {
        case KCP_OP_UPDATE: return KCP_OP_UPDATE;
        case KCP_OP_DELETE: return KCP_OP_DELETE;
        default: return KCP_OP_FULL_SYNC;
    }
}

std::vector<KcpPropertyUpdate> KCPMsgConvertor::CutPropertyUpdate(const DPUpdate& update) {
    const bool port = update.type == DPUpdate::PORT_UPDATE;
    const size_t head = (port ? KcpPropertyUpdateCodec::kPortRecords
                              : KcpPropertyUpdateCodec::kTaknicRecords).head;
    Batches batches(OperationByte(update.operation), head);
    for (const auto& [id, entry] : update.entries) {
        size_t sum = 0;
        for (const DPProperty& property : entry.properties) {
            sum += PropertySize(property);
        }
        if (sum <= Tlv::kMaxLength && sum + head <= batches.budget) {
            batches.Add({id, entry.properties});
            batches.budget -= sum + head;
            continue;
        }
        if (batches.budget <= head) {
            batches.Close();
        }
        batches.budget -= head;
        KcpPropertyRecord partial{id, {}};
        for (const DPProperty& property : entry.properties) {
            if (PropertySize(property) <= batches.budget) {
                partial.properties.push_back(property);
                batches.budget -= PropertySize(property);
                continue;
            }
            if (!partial.properties.empty()) {
                batches.Add(std::exchange(partial, KcpPropertyRecord{id, {}}));
            }
            batches.Close();
            batches.AddInPieces(id, property);
        }
        if (!partial.properties.empty()) {
            batches.Add(std::move(partial));
        }
    }
    return batches.Take();
}

bool KCPMsgConvertor::SendPropertyUpdate(const DPUpdate& update) {
    const uint16_t dataType =
        update.type == DPUpdate::PORT_UPDATE ? KCP_PORT_PROPERTY_UPDATE : KCP_TAKNIC_PROPERTY_UPDATE;
    const std::vector<KcpPropertyUpdate> messages = CutPropertyUpdate(update);
    return SendSequence(*this, messages.size(), [&](size_t i, bool more, std::vector<uint8_t>& out) {
        return KcpPropertyUpdateCodec::BuildMessage(dataType, messages[i], more, out);
    });
}

bool KCPMsgConvertor::SendGlobalProperties(uint8_t operation,
                                           const std::vector<DPGlobalProperty>& list) {
    std::vector<KcpHdsRecord> records;
    for (const DPGlobalProperty& global : list) {
        const std::vector<uint8_t>& value = global.property.value;
        if (PropertySize(global.property) <= kMaxGlobalTlv) {
            records.push_back({global.hdsId, operation, {global.property}});
            continue;
        }
        for (size_t at = 0; at < value.size(); at += kGlobalPiece) {
            const size_t size = std::min(kGlobalPiece, value.size() - at);
            KcpProperty piece{global.property.type,
                              {value.begin() + static_cast<long>(at),
                               value.begin() + static_cast<long>(at + size)}};
            records.push_back({global.hdsId, operation, {std::move(piece)}});
        }
    }
    return SendSequence(*this, records.size(), [&](size_t i, bool more, std::vector<uint8_t>& out) {
        return KcpHdsUpdateCodec::BuildMessage({records[i]}, more, out);
    });
}

bool KCPMsgConvertor::SendIdList(uint16_t dataType, const std::vector<std::string>& ids) {
    const size_t perMessage = kListBudget / *KcpIdListCodec::Width(dataType);
    return SendSequence(*this, GroupCount(ids.size(), perMessage),
                        [&](size_t i, bool more, std::vector<uint8_t>& out) {
                            return KcpIdListCodec::BuildMessage(dataType, Group(ids, perMessage, i),
                                                                more, out);
                        });
}

bool KCPMsgConvertor::SendLists(const std::vector<std::string>& containers,
                                const std::vector<std::string>& ports,
                                const std::vector<std::string>& taknics) {
    const bool sent = containers.empty() ? SendEmptyList(KCP_CONTAINER_LIST_UPDATE)
                                         : SendIdList(KCP_CONTAINER_LIST_UPDATE, containers);
    return sent && SendIdList(KCP_PORT_LIST_UPDATE, ports) &&
           SendIdList(KCP_TAKNIC_LIST_UPDATE, taknics);
}

bool KCPMsgConvertor::SendHDSList(const std::vector<std::string>& ids) {
    return SendIdList(KCP_HDS_LIST_UPDATE, ids);
}

bool KCPMsgConvertor::SendPortContainerList(const std::string& vifId,
                                            const std::vector<std::string>& containers) {
    // The port's own VIF ID takes one ID's room in every message.
    const size_t perMessage = kListBudget / KCP_VIF_ID_LEN - 1;
    // An empty list still goes out, as the port's VIF ID alone.
    const size_t count = std::max<size_t>(1, GroupCount(containers.size(), perMessage));
    return SendSequence(*this, count, [&](size_t i, bool more, std::vector<uint8_t>& out) {
        return KcpPortContainerListCodec::BuildMessage({vifId, Group(containers, perMessage, i)},
                                                       more, out);
    });
}

bool KCPMsgConvertor::SendContainerUpdate(std::vector<ContainerInfo> containers) {
    bool complete = true;
    const auto messages = PackContainers(std::move(containers), complete);
    // Each message stands alone, so none carries the more bit.
    const bool sent =
        SendSequence(*this, messages.size(), [&](size_t i, bool, std::vector<uint8_t>& out) {
            return KcpContainerUpdateCodec::BuildMessage(messages[i], false, out);
        });
    return sent && complete;
}

bool KCPMsgConvertor::SendEmptyList(uint16_t dataType) {
    std::vector<uint8_t> message;
    if (!KcpUpdateCodec::Begin(message, dataType, 0, false)) {
        return false;
    }
    return SendMsg(message);
}

}  // namespace CfgAgent
