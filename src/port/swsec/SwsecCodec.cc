#include "port/swsec/SwsecCodec.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "dplink/BigEndian.h"
#include "port/kcp/KcpAddressField.h"
#include "port/kcp/KcpMessage.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

constexpr size_t kHead = KcpMessage::kDataOffset;

size_t TextTlvSize(const std::string& text) {
    return Tlv::kHeaderSize + text.size() + 1;
}

uint8_t* WriteText(uint8_t* at, uint16_t type, const std::string& text) {
    Tlv::WriteHeader(at, type, TextTlvSize(text));
    std::copy(text.begin(), text.end(), at + Tlv::kHeaderSize);
    return at + TextTlvSize(text);
}

std::string ReadText(std::span<const uint8_t> value) {
    auto end = std::find(value.begin(), value.end(), uint8_t{0});
    return std::string(value.begin(), end);
}

constexpr const char* kTlvNames[] = {"port ID", "switch ID", "entries"};

// A text must end in its NUL and hold no other.
bool ReadStrictText(std::span<const uint8_t> value, std::string& text) {
    if (value.empty() || value.back() != 0) {
        return false;
    }
    text.assign(value.begin(), value.end() - 1);
    return text.find('\0') == std::string::npos;
}

std::string ReadEntries(std::span<const uint8_t> row, std::vector<KcpContainerEntry>& entries) {
    if (row.size() % SwsecCodec::kEntrySize != 0) {
        return "entries of " + std::to_string(row.size()) + " bytes are no whole number of " +
               std::to_string(SwsecCodec::kEntrySize) + "-byte entries";
    }
    for (size_t at = 0; at < row.size(); at += SwsecCodec::kEntrySize) {
        KcpContainerEntry entry;
        KcpAddressField::Read(row.data() + at, entry.ipv4, entry.ip);
        std::copy_n(row.data() + at + KcpAddressField::kSize, entry.mac.size(), entry.mac.begin());
        entries.push_back(entry);
    }
    return {};
}

}  // namespace

bool SwsecCodec::BuildBindings(const SwsecBindings& bindings, std::vector<uint8_t>& message) {
    const size_t entries = Tlv::kHeaderSize + bindings.entries.size() * kEntrySize;
    const size_t length =
        kHead + TextTlvSize(bindings.portId) + TextTlvSize(bindings.switchId) + entries;
    if (entries > Tlv::kMaxLength || !KcpMessage::Allocate(message, SWSEC_TOOLS_BINDINGS, length)) {
        return false;
    }
    uint8_t* at = message.data() + kHead;
    at = WriteText(at, SWSEC_PORT_ID, bindings.portId);
    at = WriteText(at, SWSEC_SWITCH_ID, bindings.switchId);
    Tlv::WriteHeader(at, SWSEC_ENTRIES, entries);
    at += Tlv::kHeaderSize;
    for (const KcpContainerEntry& entry : bindings.entries) {
        KcpAddressField::Write(at, entry.ipv4, entry.ip);
        std::copy(entry.mac.begin(), entry.mac.end(), at + KcpAddressField::kSize);
        at += kEntrySize;
    }
    return true;
}

std::string SwsecCodec::ReadBindings(std::span<const uint8_t> bytes, SwsecBindings& bindings) {
    bindings = SwsecBindings{};
    std::optional<Tlv> header = KcpMessage::Header(bytes);
    if (!header || header->Type() != SWSEC_TOOLS_BINDINGS || header->Length() != bytes.size()) {
        return "not one whole tools bindings message";
    }
    const std::span<const uint8_t> row = header->Value();
    std::string* texts[] = {&bindings.portId, &bindings.switchId};
    size_t index = 0;
    size_t end = 0;
    for (auto tlv = Tlv::At(row, 0); tlv; tlv = tlv->Next(row), ++index) {
        if (index >= std::size(kTlvNames) || tlv->Type() != index + 1) {
            return "TLV " + std::to_string(tlv->Type()) + " where " +
                   (index < std::size(kTlvNames) ? "the " + std::string(kTlvNames[index])
                                                 : std::string("nothing")) +
                   " belongs";
        }
        if (index < std::size(texts) && !ReadStrictText(tlv->Value(), *texts[index])) {
            return std::string("the ") + kTlvNames[index] + " is no NUL-ended text";
        }
        if (index == std::size(texts)) {
            std::string error = ReadEntries(tlv->Value(), bindings.entries);
            if (!error.empty()) {
                return error;
            }
        }
        end = tlv->End();
    }
    if (index < std::size(kTlvNames)) {
        return std::string("no ") + kTlvNames[index] + " TLV";
    }
    if (end != row.size()) {
        return std::to_string(row.size() - end) + " bytes after the entries";
    }
    return bindings.portId.empty() ? "empty port ID" : "";
}

std::vector<uint8_t> SwsecCodec::BuildSolicitation(const std::string& vifId) {
    std::vector<uint8_t> message;
    KcpMessage::Allocate(message, SWSEC_SOLICITATION, kHead + vifId.size() + 1);
    std::copy(vifId.begin(), vifId.end(), message.begin() + kHead);
    return message;
}

std::string SwsecCodec::ReadSolicitation(std::span<const uint8_t> bytes) {
    if (bytes.size() < kHead) {
        return {};
    }
    const size_t length = std::min<size_t>(BigEndian::Get16(bytes.data() + 2), bytes.size());
    return length > kHead ? ReadText(bytes.subspan(kHead, length - kHead)) : std::string();
}

}  // namespace CfgAgent
