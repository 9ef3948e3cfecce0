#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <google/protobuf/message.h>

#include "loftdb_store.pb.h"
#include "zef/loftdb/LoftDbClient.h"

namespace Bench {

// A store client of the benchmark drivers: puts and patches gathered into
// transactions of a bounded size, each committed and waited for.
class StoreWriter {
public:
    static constexpr uint32_t kVdb = 1;

    // Connects to the agent's store (ZEF_LOFTDB_ENDPOINT); throws when it is not there.
    StoreWriter(const std::string& name, size_t objectsPerTransaction);

    void Put(uint32_t type, const google::protobuf::Message& object);
    // One list element removed or appended, the rest of the object untouched.
    void PatchElement(uint32_t type, const google::protobuf::Message& key, const char* list,
                      const google::protobuf::Message& element, bool append);
    // Commits what is gathered, if anything.
    void Flush();

private:
    void Gathered();

    zef::loftdb::LoftDbClient _client;
    size_t _objectsPerTransaction;
    halden::zef::loftdb::ModifyRequestMsg _request;
};

}  // namespace Bench
