#include "l2/codec/VxlanEntryRow.h"

#include "l2/codec/VxlanMessage.h"

namespace CfgAgent {

bool VxlanEntryRow::Begin(std::vector<uint8_t>& tlv, uint16_t type, size_t head, size_t entry,
                          size_t count) {
    if (count > (Tlv::kMaxLength - head) / entry) {
        return false;
    }
    const size_t length = head + entry * count;
    tlv.assign(length, 0);
    return Tlv::WriteHeader(tlv.data(), type, length);
}

std::string VxlanEntryRow::Count(const Tlv& data, size_t head, size_t entry, size_t& count) {
    count = 0;
    if (data.Length() < head) {
        return Name(data.Type()) + " of " + std::to_string(data.Length()) +
               " bytes cannot hold its " + std::to_string(head) + "-byte head";
    }
    const size_t rest = data.Length() - head;
    if (rest % entry != 0) {
        return Name(data.Type()) + " of " + std::to_string(data.Length()) +
               " bytes ends inside an entry of " + std::to_string(entry) + " bytes";
    }
    count = rest / entry;
    return {};
}

std::string VxlanEntryRow::CheckRemoved(const Tlv& data, size_t removed, size_t count) {
    if (removed > count) {
        return Name(data.Type()) + " removes " + std::to_string(removed) + " entries of " +
               std::to_string(count);
    }
    return {};
}

std::string VxlanEntryRow::NotOfType(const Tlv& data, uint16_t type) {
    return "data type " + std::to_string(data.Type()) + " is not " + Name(type);
}

std::string VxlanEntryRow::Name(uint16_t type) {
    const char* name = VxlanMessage::DataTypeName(type);
    return name != nullptr ? name : "data type " + std::to_string(type);
}

}  // namespace CfgAgent
