#include "dplink/FixedText.h"

#include <algorithm>
#include <cstring>

namespace CfgAgent {

void FixedText::Write(uint8_t* field, size_t width, std::string_view text) {
    if (width == 0) {
        return;
    }
    const size_t copied = std::min(text.size(), width - 1);
    std::memcpy(field, text.data(), copied);
    std::memset(field + copied, 0, width - copied);
}

std::string FixedText::Read(const uint8_t* field, size_t width) {
    const auto* end = std::find(field, field + width, uint8_t{0});
    return std::string(reinterpret_cast<const char*>(field), static_cast<size_t>(end - field));
}

}  // namespace CfgAgent
