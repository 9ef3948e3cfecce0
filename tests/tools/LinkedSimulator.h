#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ControlServer.h"
#include "JsonPtr.h"
#include "ReceivedMessages.h"
#include "Simulator.h"
#include "dplink/DataplaneTaklink.h"
#include "frame/WorkGroup.h"
#include "host/HostPaths.h"
#include "log/LogLevel.h"
#include "zef/RefPtr.h"
#include "zef/metrics/MetricsRegistry.h"

namespace zef::test {

using namespace std::chrono_literals;
using namespace CfgAgent;
using Dpsim::JsonPtr;

inline const cJSON* Item(const cJSON* object, const char* key) {
    return cJSON_GetObjectItemCaseSensitive(object, key);
}

inline std::string Text(const cJSON* object, const char* key) {
    const cJSON* item = Item(object, key);
    return cJSON_IsString(item) ? item->valuestring : "<absent>";
}

// A simulator serving one link, its control socket, and a real agent-side
// link to it: what a module's tests drive.
class LinkedSimulator : public ::testing::Test {
public:
    using Message = std::vector<uint8_t>;
    static constexpr auto kBound = std::chrono::seconds(20);

    LinkedSimulator(std::string spec, std::string link) : _spec(std::move(spec)), _linkName(std::move(link)) {}

protected:
    void SetUp() override {
        _savedConsole = LogLevel::console.exchange(0);
        char root[] = "/tmp/dpsimlinkXXXXXX";
        ASSERT_NE(mkdtemp(root), nullptr);
        _root = root;
        _recordPath = _root + "/record.jsonl";
        setenv(HostPaths::kRootVariable, _root.c_str(), 1);
        WorkGroup::SetThreadCounts({1, 8});
        WorkGroup::Start(_registry);
        _simulator = std::make_unique<Dpsim::Simulator>(std::vector<std::string>{_spec},
                                                        _recordPath);
        std::string error;
        ASSERT_TRUE(_simulator->Start(error)) << error;
        _controlPath = _root + "/control";
        _control = std::make_unique<Dpsim::ControlServer>(_controlPath, *_simulator);
        ASSERT_TRUE(_control->Start(error)) << error;
    }

    void TearDown() override {
        if (_link) {
            _link->stop();
            _link.reset();
        }
        WorkGroup::Stop();
        _control.reset();
        _simulator.reset();
        unsetenv(HostPaths::kRootVariable);
        std::error_code ignored;
        std::filesystem::remove_all(_root, ignored);
        LogLevel::console.store(_savedConsole);
    }

    void OpenLink() {
        auto received = _received;
        auto link = zef::MakeRef<DataplaneTaklink>(
            _linkName,
            [received](const unsigned char* data, int length) { received->OnData(data, length); },
            [received](DataplaneLink*, DataplaneLink::LinkStatus status) {
                received->OnStatus(status);
            },
            nullptr, 4096);
        _link = zef::RefPtr<DataplaneLink>(link.get());
        ASSERT_TRUE(_link->open());
        ASSERT_TRUE(_received->WaitUp());
        const auto deadline = std::chrono::steady_clock::now() + kBound;
        while (std::chrono::steady_clock::now() < deadline) {
            JsonPtr status = Ask("status");
            const cJSON* first = cJSON_GetArrayItem(Item(status.get(), "links"), 0);
            if (cJSON_IsTrue(Item(first, "connected"))) {
                return;
            }
            std::this_thread::sleep_for(5ms);
        }
        FAIL() << "the simulator never saw the agent";
    }

    void Send(const Message& message) {
        auto* block = static_cast<unsigned char*>(std::malloc(message.size()));
        std::memcpy(block, message.data(), message.size());
        ASSERT_TRUE(_link->send(block, static_cast<int>(message.size())));
    }

    JsonPtr Ask(const std::string& command) {
        std::string answer;
        std::string error;
        EXPECT_TRUE(Dpsim::ControlServer::Request(_controlPath, command, answer, error)) << error;
        JsonPtr json(cJSON_Parse(answer.c_str()));
        EXPECT_NE(json, nullptr) << answer;
        return json;
    }

    static bool Ok(const JsonPtr& answer) { return cJSON_IsTrue(Item(answer.get(), "ok")); }

    // The module's tables, as `ports` gives them.
    JsonPtr Tables() { return Ask("ports " + _linkName); }
    static const cJSON* Of(const JsonPtr& tables) {
        return cJSON_GetArrayItem(Item(tables.get(), "links"), 0);
    }

    // The errors of the agent's messages, in the order they were recorded.
    std::vector<std::string> Refusals() {
        std::vector<std::string> errors;
        std::ifstream file(_recordPath);
        for (std::string text; std::getline(file, text);) {
            JsonPtr line(cJSON_Parse(text.c_str()));
            EXPECT_NE(line, nullptr) << text;
            if (line && Text(line.get(), "dir") == "in" && Item(line.get(), "error") != nullptr) {
                errors.push_back(Text(line.get(), "error"));
            }
        }
        return errors;
    }

    std::string _root;
    std::string _recordPath;
    std::string _controlPath;
    std::unique_ptr<Dpsim::Simulator> _simulator;
    std::unique_ptr<Dpsim::ControlServer> _control;
    std::shared_ptr<ReceivedMessages> _received = std::make_shared<ReceivedMessages>();
    zef::RefPtr<DataplaneLink> _link;

private:
    std::string _spec;
    std::string _linkName;
    int _savedConsole = 0;
    zef::metrics::MetricsRegistry _registry;
};


}  // namespace zef::test
