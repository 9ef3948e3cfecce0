#pragma once

#include <cstdlib>
#include <cstdint>
#include <vector>

#include "dplink/DataplaneLink.h"

namespace L2Test {

// The kernel's side of the link: what the application sent, in order.
class RecordingLink : public CfgAgent::DataplaneLink {
public:
    RecordingLink(DataCallback data, StatusCallback status) : DataplaneLink(std::move(data), std::move(status), {}) {}
    bool open() override { return true; }
    void close() override {}
    void scheduleReopen() override {}
    bool send(unsigned char* message, int length) override {
        sent.emplace_back(message, message + length);
        std::free(message);
        return true;
    }
    void stop() override {}

    std::vector<std::vector<uint8_t>> sent;
};

}  // namespace L2Test
