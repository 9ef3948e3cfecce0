#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frame/IStoreEcho.h"

namespace halden::zef::loftdb {
class ModifyRequestMsg;
class TypedObjectMsg;
}  // namespace halden::zef::loftdb

namespace CfgAgent {

// The agent's gate to the store, as applications hold it.
class ILoftdbClient : public IStoreEcho {
public:
    using ReadCallback =
        std::function<void(bool ok, const std::vector<halden::zef::loftdb::TypedObjectMsg>&)>;

    // Queues the requests for the write loop; an empty list is dropped.
    virtual void Write(const std::vector<halden::zef::loftdb::ModifyRequestMsg>& list) = 0;
    // Runtime state of the tables: dropped on a smartnic host or a smartnic;
    // `last` is written behind `list`, in the same transaction.
    virtual void WriteRuntimeState(std::vector<halden::zef::loftdb::ModifyRequestMsg> list,
                                   std::vector<halden::zef::loftdb::ModifyRequestMsg> last) = 0;
    virtual void RegisterCradleVifMonitor() = 0;
    // Reads one object of `objectType` by its key, serialized as the type's key message.
    virtual void ReadObject(uint32_t objectType, const std::string& key, ReadCallback done) = 0;
    // The vdb the agent writes to; 0 on a smartnic.
    virtual uint32_t VdbId() const = 0;

protected:
    ~ILoftdbClient() = default;
};

}  // namespace CfgAgent
