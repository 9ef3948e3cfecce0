#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "loftdb_store.pb.h"
#include "store/ILoftdbClient.h"

namespace PortTest {

// A store that answers reads from a fixed set of objects and keeps writes.
class FakeLoftdbClient : public CfgAgent::ILoftdbClient {
public:
    void Write(const std::vector<halden::zef::loftdb::ModifyRequestMsg>& list) override {
        std::lock_guard<std::mutex> lock(_mutex);
        writes.push_back(list);
    }
    void WriteRuntimeState(std::vector<halden::zef::loftdb::ModifyRequestMsg> list,
                           std::vector<halden::zef::loftdb::ModifyRequestMsg> last) override {
        list.insert(list.end(), last.begin(), last.end());
        Write(list);
    }
    void RegisterCradleVifMonitor() override {}
    bool Echo(const std::string&, EchoCallback done) override {
        done(0, "ping");
        return true;
    }
    void ReadObject(uint32_t objectType, const std::string& key, ReadCallback done) override {
        std::vector<halden::zef::loftdb::TypedObjectMsg> found;
        {
            std::lock_guard<std::mutex> lock(_mutex);
            reads.push_back(key);
            for (const auto& [type, id, body] : objects) {
                if (type == objectType && id == key) {
                    halden::zef::loftdb::TypedObjectMsg object;
                    object.set_object_type(type);
                    object.set_body(body);
                    found.push_back(object);
                }
            }
        }
        done(true, found);
    }
    uint64_t LastBarrierTime() const override { return 0; }
    uint32_t VdbId() const override { return 1; }

    struct Stored {
        uint32_t type;
        std::string id;
        std::string body;
    };
    std::vector<Stored> objects;
    std::vector<std::string> reads;
    std::vector<std::vector<halden::zef::loftdb::ModifyRequestMsg>> writes;

private:
    std::mutex _mutex;
};

}  // namespace PortTest
