#include "l3/codec/RtxDump.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "dplink/BoundedText.h"
#include "l3/codec/RtxTypes.h"
#include "log/Logger.h"

namespace CfgAgent {

namespace {

const char* MessageLabel(uint16_t type) {
    switch (type) {
        case RTX_MSG_INIT: return "INIT";
        case RTX_MSG_CONFIGURE: return "CONFIGURE";
        case RTX_MSG_LINK_CHANGE: return "LINK CHANGE";
        case RTX_MSG_QUERY: return "GENERIC QUERY";
        case RTX_MSG_FLUSH: return "GENERIC FLUSH";
        case RTX_MSG_ERROR: return "ERROR NOTIFICATION";
        case RTX_MSG_INSTANCE_LIST: return "RTX INSTANCE LIST";
        default: return nullptr;
    }
}

const char* EntryLabel(uint16_t type) {
    switch (type) {
        case RTX_ENTRY_INSTANCE_REPORT: return "INSTANCE REPORT";
        case RTX_ENTRY_LIF: return "LIF UPDATE";
        case RTX_ENTRY_ROUTE: return "ROUTE UPDATE";
        case 15: return "CONNECTION UPDATE";
        case 18: return "Tunable UPDATE";
        case RTX_ENTRY_GLOBAL: return "GLOBAL UPDATE";
        case 29: return "Multicast UPDATE";
        case 30: return "PrefixList UPDATE";
        default: return nullptr;
    }
}

void Entries(std::span<const uint8_t> message, BoundedText& text) {
    size_t at = 4;
    while (at + 4 <= message.size()) {
        const uint16_t type = BigEndian::Get16(message.data() + at);
        const uint16_t length = BigEndian::Get16(message.data() + at + 2);
        if (const char* label = EntryLabel(type)) {
            text.Add("\t%s: len = %u\n", label, length);
        } else {
            text.Add("\tUpdate: unsupported data type %u, len %u", type, length);
        }
        if (length < 4) {
            return;
        }
        at += length;
    }
}

}  // namespace

std::string RtxDump::Render(std::span<const uint8_t> message) {
    BoundedText text(kMaxText);
    text.Add("RTX Message\n");
    if (message.size() < 4) {
        return text.Take();
    }
    const uint16_t type = BigEndian::Get16(message.data());
    const uint16_t length = BigEndian::Get16(message.data() + 2);
    if (type == RTX_MSG_UPDATE) {
        Entries(message.first(std::min<size_t>(length, message.size())), text);
    } else if (const char* label = MessageLabel(type)) {
        text.Add("\t%s: len = %u\n", label, length);
    } else {
        text.Add("\tmessage type %u, len %u\n", type, length);
    }
    return text.Take();
}

void RtxDump::Log(int level, std::span<const uint8_t> message) {
    CFG_LOG(level, "%1", Render(message));
}

}  // namespace CfgAgent
