#include "port/SwsecCodec.h"

#include <algorithm>
#include <optional>

#include "port/BigEndian.h"
#include "port/KcpAddressField.h"
#include "port/KcpMessage.h"
#include "port/Tlv.h"

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

std::optional<Tlv> Expect(std::optional<Tlv> tlv, uint16_t type) {
    return tlv && tlv->Type() == type ? tlv : std::nullopt;
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

bool SwsecCodec::ReadBindings(std::span<const uint8_t> bytes, SwsecBindings& bindings) {
    std::optional<Tlv> header = KcpMessage::Header(bytes);
    if (!header || header->Type() != SWSEC_TOOLS_BINDINGS) {
        return false;
    }
    const std::span<const uint8_t> row = bytes.first(header->Length());
    std::optional<Tlv> port = Expect(Tlv::At(row, kHead), SWSEC_PORT_ID);
    std::optional<Tlv> sw = port ? Expect(port->Next(row), SWSEC_SWITCH_ID) : std::nullopt;
    std::optional<Tlv> entries = sw ? Expect(sw->Next(row), SWSEC_ENTRIES) : std::nullopt;
    if (!entries || entries->ValueLength() % kEntrySize != 0) {
        return false;
    }
    bindings = SwsecBindings{};
    bindings.portId = ReadText(port->Value());
    bindings.switchId = ReadText(sw->Value());
    std::span<const uint8_t> value = entries->Value();
    for (size_t offset = 0; offset < value.size(); offset += kEntrySize) {
        KcpContainerEntry entry;
        KcpAddressField::Read(value.data() + offset, entry.ipv4, entry.ip);
        std::copy_n(value.data() + offset + KcpAddressField::kSize, entry.mac.size(),
                    entry.mac.begin());
        bindings.entries.push_back(entry);
    }
    return true;
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
