// loftdb-ctl: reads and writes store objects as protobuf JSON.

#include <cjson/cJSON.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "JsonObjects.h"
#include "host/Endpoints.h"
#include "log/LogLevel.h"
#include "zef/loftdb/LoftDbClient.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using halden::zef::loftdb::ModifyMsg;
using halden::zef::loftdb::ModifyRequestMsg;
using loftdbctl::JsonObjects;

constexpr int kOk = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;
constexpr int kUnreachable = 3;
constexpr int32_t kWatchClientId = 1;

const char* const kUsageText =
    "Usage: loftdb-ctl [--endpoint tcp://HOST:PORT] [--vdb N] [--timeout SECONDS] COMMAND\n"
    "  put TYPE JSON            put one object ('-' reads the JSON from standard input)\n"
    "  patch TYPE JSON OPJSON   apply an operation body to the stored object with JSON's id\n"
    "  delete TYPE JSON         delete the object with JSON's id\n"
    "  flush TYPE               delete every object of the type\n"
    "  get TYPE [JSON]          print the object with JSON's id, or all of the type\n"
    "  apply FILE               one transaction from a JSON file:\n"
    "                           {\"vdb\":[1],\"modify\":[{\"put\":{\"type\":T,\"object\":{}}},\n"
    "                            {\"patch\":{\"type\":T,\"object\":{},\"op\":{}}},\n"
    "                            {\"delete\":{\"type\":T,\"object\":{}}},{\"flush\":{\"type\":T}}]}\n"
    "  watch [--entries] [--barriers N] TYPE...\n"
    "                           print monitor updates and barriers as JSON lines\n"
    "TYPE is a name such as LOG_SWITCH_CONFIG or a code.\n";

struct Options {
    std::string endpoint = CfgAgent::Endpoints::Loftdb();
    uint32_t vdb = 1;
    std::chrono::milliseconds timeout{5000};
    std::vector<std::string> args;
};

class CtlError : public std::runtime_error {
public:
    CtlError(int code, const std::string& what) : std::runtime_error(what), code(code) {}
    int code;
};

const zef::loftdb::ObjectTypeInfo& TypeOf(const std::string& text) {
    const auto* info = zef::loftdb::ObjectTypes::ByText(text);
    if (info == nullptr) {
        throw CtlError(kFailed, "unknown object type " + text);
    }
    return *info;
}

std::string JsonArgument(const std::string& text) {
    if (text != "-") {
        return text;
    }
    return std::string(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
}

std::unique_ptr<google::protobuf::Message> ObjectOf(uint32_t type, const std::string& json) {
    std::string error;
    auto object = JsonObjects::Object(type, json, error);
    if (!object) {
        throw CtlError(kFailed, error);
    }
    return object;
}

void Connect(zef::loftdb::LoftDbClient& client, const Options& options) {
    client.StartAsync();
    if (!client.WaitConnected(options.timeout)) {
        throw CtlError(kUnreachable, "cannot reach the store at " + options.endpoint);
    }
}

void Commit(const Options& options, const ModifyRequestMsg& request) {
    // Before the client: its stop may still answer a request that timed out.
    std::promise<std::pair<bool, std::string>> answer;
    zef::loftdb::LoftDbClient client("loftdb-ctl", options.endpoint);
    Connect(client, options);
    client.Modify({request}, [&answer](bool ok, const std::string& error) {
        answer.set_value({ok, error});
    });
    auto future = answer.get_future();
    if (future.wait_for(options.timeout) != std::future_status::ready) {
        throw CtlError(kUnreachable, "the store did not answer");
    }
    auto [ok, error] = future.get();
    if (!ok) {
        throw CtlError(kFailed, "store refused the transaction: " + error);
    }
}

// vdb 0 is the store's default and is never listed.
template <typename Op>
void AddVdbs(Op* op, const std::vector<uint32_t>& vdbs) {
    for (uint32_t vdb : vdbs) {
        if (vdb != 0) {
            op->add_vdb_id(vdb);
        }
    }
}

template <typename Op>
void SetTyped(Op* op, uint32_t type, const google::protobuf::Message& object,
              const std::vector<uint32_t>& vdbs) {
    op->mutable_object()->set_object_type(type);
    op->mutable_object()->set_body(object.SerializeAsString());
    AddVdbs(op, vdbs);
}

int Put(const Options& options) {
    if (options.args.size() != 3) {
        throw CtlError(kUsage, "put TYPE JSON");
    }
    const auto& info = TypeOf(options.args[1]);
    ModifyRequestMsg request;
    SetTyped(request.add_modify()->mutable_put(), info.code,
             *ObjectOf(info.code, JsonArgument(options.args[2])), {options.vdb});
    Commit(options, request);
    return kOk;
}

int Patch(const Options& options) {
    if (options.args.size() != 4) {
        throw CtlError(kUsage, "patch TYPE JSON OPJSON");
    }
    const auto& info = TypeOf(options.args[1]);
    std::string error;
    auto op = JsonObjects::OpBody(info.code, options.args[3], error);
    if (!op) {
        throw CtlError(kFailed, error);
    }
    ModifyRequestMsg request;
    auto* patch = request.add_modify()->mutable_patch();
    SetTyped(patch, info.code, *ObjectOf(info.code, JsonArgument(options.args[2])), {options.vdb});
    patch->set_op_body(op->SerializeAsString());
    Commit(options, request);
    return kOk;
}

int Delete(const Options& options) {
    if (options.args.size() != 3) {
        throw CtlError(kUsage, "delete TYPE JSON");
    }
    const auto& info = TypeOf(options.args[1]);
    ModifyRequestMsg request;
    SetTyped(request.add_modify()->mutable_delete_(), info.code,
             *ObjectOf(info.code, JsonArgument(options.args[2])), {options.vdb});
    Commit(options, request);
    return kOk;
}

int Flush(const Options& options) {
    if (options.args.size() != 2) {
        throw CtlError(kUsage, "flush TYPE");
    }
    ModifyRequestMsg request;
    auto* flush = request.add_modify()->mutable_flush();
    flush->set_object_type(TypeOf(options.args[1]).code);
    AddVdbs(flush, {options.vdb});
    Commit(options, request);
    return kOk;
}

int Get(const Options& options) {
    if (options.args.size() != 2 && options.args.size() != 3) {
        throw CtlError(kUsage, "get TYPE [JSON]");
    }
    const auto& info = TypeOf(options.args[1]);
    halden::zef::loftdb::ObjectRequestMsg read;
    read.set_object_type(info.code);
    if (options.args.size() == 3) {
        auto key = zef::loftdb::ObjectTypes::Key(*ObjectOf(info.code, JsonArgument(options.args[2])));
        if (!key) {
            throw CtlError(kFailed, "the JSON gives no id");
        }
        read.add_id(*key);
    }
    std::promise<std::vector<std::string>> answer;
    zef::loftdb::LoftDbClient client("loftdb-ctl", options.endpoint);
    Connect(client, options);
    client.Read(
        read,
        [&](bool ok, const std::vector<halden::zef::loftdb::TypedObjectMsg>& objects) {
            std::vector<std::string> lines;
            for (const auto& object : objects) {
                lines.push_back(JsonObjects::BytesText(info.code, object.body(), false));
            }
            answer.set_value(ok ? lines : std::vector<std::string>{"!"});
        },
        options.vdb);
    auto future = answer.get_future();
    if (future.wait_for(options.timeout) != std::future_status::ready) {
        throw CtlError(kUnreachable, "the store did not answer");
    }
    auto lines = future.get();
    if (lines.size() == 1 && lines[0] == "!") {
        throw CtlError(kFailed, "the store refused the read");
    }
    for (const std::string& line : lines) {
        std::printf("%s\n", line.c_str());
    }
    if (options.args.size() == 3 && lines.empty()) {
        throw CtlError(kFailed, "no such object");
    }
    return kOk;
}

// One entry of an apply file, turned into a modify.
void ApplyEntry(const cJSON* entry, const std::vector<uint32_t>& vdbs, ModifyRequestMsg& request) {
    const cJSON* body = entry->child;
    if (body == nullptr || !cJSON_IsObject(body) || body->string == nullptr) {
        throw CtlError(kFailed, "each modify entry holds one of put, patch, delete, flush");
    }
    const std::string op = body->string;
    const cJSON* type = cJSON_GetObjectItemCaseSensitive(body, "type");
    std::string typeText;
    if (cJSON_IsString(type)) {
        typeText = type->valuestring;
    } else if (cJSON_IsNumber(type)) {
        typeText = std::to_string(type->valueint);
    } else {
        throw CtlError(kFailed, op + " entry without type");
    }
    const auto& info = TypeOf(typeText);
    auto json = [&](const char* name) {
        const cJSON* item = cJSON_GetObjectItemCaseSensitive(body, name);
        if (item == nullptr) {
            throw CtlError(kFailed, op + " entry without " + name);
        }
        char* text = cJSON_PrintUnformatted(item);
        std::string out = text != nullptr ? text : "";
        cJSON_free(text);
        return out;
    };
    ModifyMsg* modify = request.add_modify();
    if (op == "put") {
        SetTyped(modify->mutable_put(), info.code, *ObjectOf(info.code, json("object")), vdbs);
    } else if (op == "delete") {
        SetTyped(modify->mutable_delete_(), info.code, *ObjectOf(info.code, json("object")), vdbs);
    } else if (op == "patch") {
        std::string error;
        auto opBody = JsonObjects::OpBody(info.code, json("op"), error);
        if (!opBody) {
            throw CtlError(kFailed, error);
        }
        SetTyped(modify->mutable_patch(), info.code, *ObjectOf(info.code, json("object")), vdbs);
        modify->mutable_patch()->set_op_body(opBody->SerializeAsString());
    } else if (op == "flush") {
        modify->mutable_flush()->set_object_type(info.code);
        AddVdbs(modify->mutable_flush(), vdbs);
    } else {
        throw CtlError(kFailed, "unknown modify " + op);
    }
}

int Apply(const Options& options) {
    if (options.args.size() != 2) {
        throw CtlError(kUsage, "apply FILE");
    }
    std::ifstream in(options.args[1]);
    if (!in) {
        throw CtlError(kFailed, "cannot read " + options.args[1]);
    }
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::unique_ptr<cJSON, decltype(&cJSON_Delete)> root(cJSON_Parse(text.c_str()), cJSON_Delete);
    const cJSON* modifies =
        root ? cJSON_GetObjectItemCaseSensitive(root.get(), "modify") : nullptr;
    if (!cJSON_IsArray(modifies)) {
        throw CtlError(kFailed, options.args[1] + ": not a JSON object with a \"modify\" list");
    }
    std::vector<uint32_t> vdbs{options.vdb};
    const cJSON* listed = cJSON_GetObjectItemCaseSensitive(root.get(), "vdb");
    if (cJSON_IsArray(listed)) {
        vdbs.clear();
        const cJSON* vdb = nullptr;
        cJSON_ArrayForEach(vdb, listed) {
            if (!cJSON_IsNumber(vdb) || vdb->valueint < 0) {
                throw CtlError(kFailed, options.args[1] + ": \"vdb\" holds numbers only");
            }
            vdbs.push_back(static_cast<uint32_t>(vdb->valueint));
        }
    }
    ModifyRequestMsg request;
    const cJSON* entry = nullptr;
    cJSON_ArrayForEach(entry, modifies) { ApplyEntry(entry, vdbs, request); }
    Commit(options, request);
    return kOk;
}

std::string UpdateLine(const halden::zef::loftdb::MonitorUpdateMsg& update) {
    const uint32_t type = update.object_type();
    const auto* info = zef::loftdb::ObjectTypes::ByCode(type);
    std::string line = std::string("{\"update\":{\"type\":\"") + (info ? info->name : "?") + "\"";
    line += ",\"object\":" + JsonObjects::BytesText(type, update.object_body(), false);
    line += ",\"op\":" + JsonObjects::BytesText(type, update.op_body(), true);
    if (update.has_old_object_body()) {
        line += ",\"old\":" + JsonObjects::BytesText(type, update.old_object_body(), false);
    }
    return line + "}}";
}

int Watch(const Options& options) {
    bool entries = false;
    long barriersWanted = -1;
    std::vector<halden::zef::loftdb::MonitorStatementMsg> statements;
    for (size_t i = 1; i < options.args.size(); ++i) {
        const std::string& arg = options.args[i];
        if (arg == "--entries") {
            entries = true;
        } else if (arg == "--barriers" && i + 1 < options.args.size()) {
            barriersWanted = std::stol(options.args[++i]);
        } else {
            const auto& info = TypeOf(arg);
            auto& statement = statements.emplace_back();
            statement.mutable_object()->set_object_type(info.code);
            statement.set_mode(1);
            if (entries) {
                auto object = zef::loftdb::ObjectTypes::NewObject(info.code);
                statement.mutable_object()->set_select(
                    zef::loftdb::OpReflection::SelectAllLists(object->GetDescriptor()));
            }
        }
    }
    if (statements.empty()) {
        throw CtlError(kUsage, "watch [--entries] [--barriers N] TYPE...");
    }
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    std::atomic<long> barriers{0};
    zef::loftdb::LoftDbClient client("loftdb-ctl-watch", options.endpoint);
    client.RegisterMonitor(
        kWatchClientId,
        [](const halden::zef::loftdb::MonitorUpdateMsg& update) {
            std::printf("%s\n", UpdateLine(update).c_str());
            std::fflush(stdout);
        },
        [&barriers] {
            std::printf("{\"barrier\":true}\n");
            std::fflush(stdout);
            ++barriers;
        },
        options.vdb);
    client.ConfigureMonitor(statements, {}, kWatchClientId, options.vdb);
    Connect(client, options);
    const timespec tick{0, 100 * 1000 * 1000};
    while (barriersWanted < 0 || barriers.load() < barriersWanted) {
        if (sigtimedwait(&stopSignals, nullptr, &tick) > 0) {
            break;
        }
    }
    client.Stop();
    return kOk;
}

Options ParseOptions(int argc, char** argv) {
    Options options;
    int i = 1;
    for (; i < argc && std::strncmp(argv[i], "--", 2) == 0; ++i) {
        const std::string flag = argv[i];
        if (i + 1 >= argc) {
            throw CtlError(kUsage, flag + " needs a value");
        }
        const std::string value = argv[++i];
        if (flag == "--endpoint") {
            options.endpoint = value;
        } else if (flag == "--vdb") {
            options.vdb = static_cast<uint32_t>(std::stoul(value));
        } else if (flag == "--timeout") {
            options.timeout = std::chrono::milliseconds(std::stol(value) * 1000);
        } else {
            throw CtlError(kUsage, "unknown option " + flag);
        }
    }
    options.args.assign(argv + i, argv + argc);
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    CfgAgent::LogLevel::console = 0;  // a tool's output is its answer, not log lines
    try {
        Options options = ParseOptions(argc, argv);
        if (options.args.empty()) {
            throw CtlError(kUsage, "no command");
        }
        const std::string& command = options.args[0];
        if (command == "put") return Put(options);
        if (command == "patch") return Patch(options);
        if (command == "delete") return Delete(options);
        if (command == "flush") return Flush(options);
        if (command == "get") return Get(options);
        if (command == "apply") return Apply(options);
        if (command == "watch") return Watch(options);
        throw CtlError(kUsage, "unknown command " + command);
    } catch (const CtlError& e) {
        std::fprintf(stderr, "loftdb-ctl: %s\n", e.what());
        if (e.code == kUsage) {
            std::fputs(kUsageText, stderr);
        }
        return e.code;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "loftdb-ctl: %s\n", e.what());
        return kUsage;
    }
}
