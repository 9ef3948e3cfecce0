#include "StoreWriter.h"

#include <chrono>
#include <future>
#include <stdexcept>

#include "host/Endpoints.h"
#include "zef/loftdb/OpReflection.h"

namespace Bench {

using namespace std::chrono_literals;

StoreWriter::StoreWriter(const std::string& name, size_t objectsPerTransaction)
    : _client(name, CfgAgent::Endpoints::Loftdb()), _objectsPerTransaction(objectsPerTransaction) {
    _client.StartAsync();
    if (!_client.WaitConnected(10s)) {
        throw std::runtime_error("the store is not there");
    }
}

void StoreWriter::Put(uint32_t type, const google::protobuf::Message& object) {
    auto* put = _request.add_modify()->mutable_put();
    put->mutable_object()->set_object_type(type);
    put->mutable_object()->set_body(object.SerializeAsString());
    put->add_vdb_id(kVdb);
    Gathered();
}

void StoreWriter::PatchElement(uint32_t type, const google::protobuf::Message& key, const char* list,
                               const google::protobuf::Message& element, bool append) {
    std::unique_ptr<google::protobuf::Message> body(key.New());
    body->CopyFrom(key);
    const auto* field = body->GetDescriptor()->FindFieldByName(list);
    body->GetReflection()->AddMessage(body.get(), field)->CopyFrom(element);
    auto op = zef::loftdb::OpReflection::NewOpMessage(body->GetDescriptor());
    const auto* opField = op->GetDescriptor()->FindFieldByNumber(field->number());
    zef::loftdb::OpReflection::SetSelf(*op->GetReflection()->AddMessage(op.get(), opField),
                                       append ? halden::zef::loftdb::APPEND : halden::zef::loftdb::REMOVE);
    auto* patch = _request.add_modify()->mutable_patch();
    patch->mutable_object()->set_object_type(type);
    patch->mutable_object()->set_body(body->SerializeAsString());
    patch->set_op_body(op->SerializeAsString());
    patch->add_vdb_id(kVdb);
    Gathered();
}

void StoreWriter::Gathered() {
    if (static_cast<size_t>(_request.modify_size()) >= _objectsPerTransaction) {
        Flush();
    }
}

void StoreWriter::Flush() {
    if (_request.modify_size() == 0) {
        return;
    }
    std::promise<std::pair<bool, std::string>> answer;
    _client.Modify({_request}, [&answer](bool ok, const std::string& error) { answer.set_value({ok, error}); });
    _request.Clear();
    auto future = answer.get_future();
    if (future.wait_for(600s) != std::future_status::ready) {
        throw std::runtime_error("the store did not answer");
    }
    auto [ok, error] = future.get();
    if (!ok) {
        throw std::runtime_error("the store refused: " + error);
    }
}

}  // namespace Bench
