#pragma once

#include <memory>
#include <ostream>
#include <string>

namespace CfgAgent {

// Immutable bytes that the records of one update share: a trace or tenant
// context is stored once however many records carry it, and none costs
// nothing.
class SharedBytes {
public:
    SharedBytes() = default;
    SharedBytes(std::string bytes)  // NOLINT: a record's field takes bytes as they come
        : _bytes(bytes.empty() ? nullptr : std::make_shared<const std::string>(std::move(bytes))) {}

    SharedBytes(const char* bytes) : SharedBytes(std::string(bytes)) {}  // NOLINT: as above

    const std::string& str() const { return _bytes ? *_bytes : None(); }
    operator const std::string&() const { return str(); }  // NOLINT: reads as the bytes
    bool empty() const { return _bytes == nullptr; }
    size_t size() const { return str().size(); }

    // The same stored bytes, not merely equal ones.
    bool SameAs(const SharedBytes& other) const { return _bytes == other._bytes; }

    bool operator==(const SharedBytes& other) const { return str() == other.str(); }
    friend bool operator==(const SharedBytes& bytes, const std::string& text) { return bytes.str() == text; }
    friend std::ostream& operator<<(std::ostream& out, const SharedBytes& bytes) { return out << bytes.str(); }

private:
    static const std::string& None() {
        static const std::string none;
        return none;
    }
    std::shared_ptr<const std::string> _bytes;
};

}  // namespace CfgAgent
