#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ObjectStore.h"
#include "loftdb_store.pb.h"

namespace loftdb {

// The net change of one object in one transaction.
struct Change {
    ObjectRef ref;
    std::optional<std::string> before;
    std::optional<std::string> after;
};

// Works out a whole modify batch against the store without touching it: all
// of it is valid, or none of it is applied.
class Transaction {
public:
    // The changed objects in order of first touch; false with the reason when
    // any operation of the batch is invalid.
    static bool Build(const halden::zef::loftdb::ModifyBatchMsg& batch, const ObjectStore& store,
                      std::vector<Change>& changes, std::string& error);

    static void Commit(const std::vector<Change>& changes, ObjectStore& store);
};

}  // namespace loftdb
