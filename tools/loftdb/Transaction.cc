#include "Transaction.h"

#include <google/protobuf/message.h>

#include <map>
#include <memory>

#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"
#include "zef/loftdb/PatchApplier.h"

namespace loftdb {

namespace {

using google::protobuf::Message;
using halden::zef::loftdb::TypedObjectMsg;
using zef::loftdb::ObjectTypes;

// The batch's view of the store: what it wrote so far over what was there.
class Overlay {
public:
    explicit Overlay(const ObjectStore& store) : _store(store) {}

    std::optional<std::string> Get(const ObjectRef& ref) const {
        auto it = _written.find(ref);
        return it != _written.end() ? it->second : _store.Get(ref);
    }

    void Set(const ObjectRef& ref, std::optional<std::string> body) {
        if (_written.find(ref) == _written.end()) {
            _order.push_back(ref);
            _originals[ref] = _store.Get(ref);
        }
        _written[ref] = std::move(body);
    }

    // Keys of one type in one vdb that exist now, stored or written.
    std::vector<std::string> Keys(uint32_t vdb, uint32_t type) const {
        std::vector<std::string> keys;
        for (auto& [key, body] : _store.All(vdb, type)) {
            keys.push_back(key);
        }
        for (auto& [ref, body] : _written) {
            if (ref.vdb == vdb && ref.type == type && body && !_store.Get(ref)) {
                keys.push_back(ref.key);
            }
        }
        return keys;
    }

    std::vector<Change> Changes() const {
        std::vector<Change> changes;
        for (const ObjectRef& ref : _order) {
            const auto& before = _originals.at(ref);
            const auto& after = _written.at(ref);
            if (before != after) {
                changes.push_back({ref, before, after});
            }
        }
        return changes;
    }

private:
    const ObjectStore& _store;
    std::map<ObjectRef, std::optional<std::string>> _written;
    std::map<ObjectRef, std::optional<std::string>> _originals;
    std::vector<ObjectRef> _order;
};

std::vector<uint32_t> Vdbs(const google::protobuf::RepeatedField<uint32_t>& listed) {
    if (listed.empty()) {
        return {0};
    }
    return {listed.begin(), listed.end()};
}

// The typed object of a put, patch or delete, with its key.
bool ParseObject(const TypedObjectMsg& typed, std::unique_ptr<Message>& object, std::string& key,
                 std::string& error) {
    const zef::loftdb::ObjectTypeInfo* info = ObjectTypes::ByCode(typed.object_type());
    if (info == nullptr) {
        error = "unknown object type " + std::to_string(typed.object_type());
        return false;
    }
    object = ObjectTypes::NewObject(typed.object_type());
    if (!object || !object->ParseFromString(typed.body())) {
        error = std::string("body of ") + info->name + " does not parse";
        return false;
    }
    auto id = ObjectTypes::Key(*object);
    if (!id) {
        error = std::string(info->name) + " object has no id";
        return false;
    }
    key = *id;
    return true;
}

bool ApplyPatch(const halden::zef::loftdb::PatchMsg& patch, Overlay& overlay, std::string& error) {
    std::unique_ptr<Message> values;
    std::string key;
    if (!ParseObject(patch.object(), values, key, error)) {
        return false;
    }
    std::unique_ptr<Message> op = zef::loftdb::OpReflection::NewOpMessage(values->GetDescriptor());
    if (!op || !op->ParseFromString(patch.op_body())) {
        error = "op body of patch does not parse";
        return false;
    }
    const uint32_t type = patch.object().object_type();
    for (uint32_t vdb : Vdbs(patch.vdb_id())) {
        ObjectRef ref{vdb, type, key};
        std::optional<std::string> current = overlay.Get(ref);
        if (!current) {
            error = std::string("no ") + ObjectTypes::ByCode(type)->name + " object to patch";
            return false;
        }
        if (zef::loftdb::OpReflection::GetSelf(*op) == halden::zef::loftdb::CLEAR) {
            overlay.Set(ref, std::nullopt);
            continue;
        }
        std::unique_ptr<Message> stored(values->New());
        stored->ParseFromString(*current);
        if (!zef::loftdb::PatchApplier::Apply(*stored, *values, *op, error)) {
            return false;
        }
        if (ObjectTypes::Key(*stored) != key) {
            error = "a patch may not change or clear the id";
            return false;
        }
        overlay.Set(ref, stored->SerializeAsString());
    }
    return true;
}

bool ApplyModify(const halden::zef::loftdb::ModifyMsg& modify, Overlay& overlay,
                 std::string& error) {
    std::unique_ptr<Message> object;
    std::string key;
    if (modify.has_put()) {
        if (!ParseObject(modify.put().object(), object, key, error)) {
            return false;
        }
        for (uint32_t vdb : Vdbs(modify.put().vdb_id())) {
            overlay.Set({vdb, modify.put().object().object_type(), key}, object->SerializeAsString());
        }
        return true;
    }
    if (modify.has_patch()) {
        return ApplyPatch(modify.patch(), overlay, error);
    }
    if (modify.has_delete_()) {
        if (!ParseObject(modify.delete_().object(), object, key, error)) {
            return false;
        }
        for (uint32_t vdb : Vdbs(modify.delete_().vdb_id())) {
            overlay.Set({vdb, modify.delete_().object().object_type(), key}, std::nullopt);
        }
        return true;
    }
    if (modify.has_flush()) {
        const uint32_t type = modify.flush().object_type();
        if (ObjectTypes::ByCode(type) == nullptr) {
            error = "unknown object type " + std::to_string(type);
            return false;
        }
        for (uint32_t vdb : Vdbs(modify.flush().vdb_id())) {
            for (const std::string& existing : overlay.Keys(vdb, type)) {
                overlay.Set({vdb, type, existing}, std::nullopt);
            }
        }
        return true;
    }
    error = "modify without put, patch, delete or flush";
    return false;
}

}  // namespace

bool Transaction::Build(const halden::zef::loftdb::ModifyBatchMsg& batch, const ObjectStore& store,
                        std::vector<Change>& changes, std::string& error) {
    Overlay overlay(store);
    for (const auto& request : batch.request()) {
        for (const auto& modify : request.modify()) {
            if (!ApplyModify(modify, overlay, error)) {
                return false;
            }
        }
    }
    changes = overlay.Changes();
    return true;
}

void Transaction::Commit(const std::vector<Change>& changes, ObjectStore& store) {
    for (const Change& change : changes) {
        store.Set(change.ref, change.after);
    }
}

}  // namespace loftdb
