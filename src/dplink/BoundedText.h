#pragma once

#include <cstddef>
#include <string>

namespace CfgAgent {

// A message dump's text: it keeps at most `limit` characters, and whatever
// would pass the limit is dropped without a mark, as the log line must stay
// bounded.
class BoundedText {
public:
    explicit BoundedText(size_t limit) : _limit(limit) {}

    __attribute__((format(printf, 2, 3))) void Add(const char* format, ...);
    std::string Take() { return std::move(_text); }

private:
    size_t _limit;
    std::string _text;
};

}  // namespace CfgAgent
