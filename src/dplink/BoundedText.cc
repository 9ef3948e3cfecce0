#include "dplink/BoundedText.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace CfgAgent {

void BoundedText::Add(const char* format, ...) {
    const size_t used = _text.size();
    const size_t room = _limit - used;
    if (room == 0) {
        return;
    }
    _text.resize(used + room + 1);
    va_list args;
    va_start(args, format);
    const int written = std::vsnprintf(_text.data() + used, room + 1, format, args);
    va_end(args);
    _text.resize(used + (written > 0 ? std::min(static_cast<size_t>(written), room) : 0));
}

}  // namespace CfgAgent
