// loftdb: the host's object store service.
//
//   loftdb [--listen tcp://HOST:PORT] [--data-dir DIR]
//
// Without a data directory the store lives in memory. The listening endpoint
// defaults to ZEF_LOFTDB_ENDPOINT, else tcp://127.0.0.1:2480.

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>

#include "Journal.h"
#include "ObjectStore.h"
#include "StoreService.h"
#include "host/Endpoints.h"
#include "log/zef/Logger.h"
#include "loftdb_store.pb.h"
#include "zef/LibraryLogLevels.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/ObjectTypeTable.h"

namespace {

#define STORE_LOG(level) ZEF_LIB_LOG(zef::loftdb::library_log_level, level).s2comp("loftdb")

int Usage(const char* program) {
    std::fprintf(stderr, "Usage: %s [--listen tcp://HOST:PORT] [--data-dir DIR]\n", program);
    return 2;
}

// After a replay the journal is rewritten as one snapshot, so that it grows
// only with the transactions of one run.
bool Compact(loftdb::Journal& journal, const loftdb::ObjectStore& store) {
    if (journal.Records() <= 1) {
        return true;
    }
    halden::zef::loftdb::ModifyBatchMsg snapshot;
    auto* request = snapshot.add_request();
    for (const auto& info : zef::loftdb::kObjectTypes) {
        for (uint32_t vdb : store.Vdbs()) {
            for (auto& [key, body] : store.All(vdb, info.code)) {
                auto* put = request->add_modify()->mutable_put();
                put->mutable_object()->set_object_type(info.code);
                put->mutable_object()->set_body(body);
                if (vdb != 0) {
                    put->add_vdb_id(vdb);
                }
            }
        }
    }
    return journal.Rewrite(snapshot.SerializeAsString());
}

}  // namespace

int main(int argc, char** argv) {
    std::string endpoint = CfgAgent::Endpoints::Loftdb();
    std::string dataDir;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if ((arg == "--listen" || arg == "--data-dir") && i + 1 < argc) {
            (arg == "--listen" ? endpoint : dataDir) = argv[++i];
        } else {
            return Usage(argv[0]);
        }
    }
    std::signal(SIGPIPE, SIG_IGN);

    boost::asio::io_context context;
    loftdb::ObjectStore store;
    loftdb::Journal journal;
    loftdb::StoreService service(context, store, dataDir.empty() ? nullptr : &journal);

    if (!dataDir.empty()) {
        std::string error;
        const bool opened = journal.Open(
            dataDir,
            [&](const std::string& payload) {
                halden::zef::loftdb::ModifyBatchMsg batch;
                std::string refused;
                if (!batch.ParseFromString(payload) || !service.Apply(batch, true, refused)) {
                    STORE_LOG(zef::LIB_LOG_ERROR)
                        .put("loftdb: a journal record does not apply: %s", refused.c_str());
                }
            },
            error);
        if (!opened || !Compact(journal, store)) {
            STORE_LOG(zef::LIB_LOG_ERROR)
                .put("loftdb: %s", error.empty() ? "journal compaction failed" : error.c_str());
            return 1;
        }
        STORE_LOG(zef::LIB_LOG_INFO)
            .put("loftdb recovered %zu objects from %s", store.Size(), dataDir.c_str());
    }

    std::string error;
    const uint16_t port = service.Listen(endpoint, error);
    if (port == 0) {
        STORE_LOG(zef::LIB_LOG_ERROR).put("loftdb: %s", error.c_str());
        return 1;
    }
    const std::string host = endpoint.substr(0, endpoint.rfind(':'));
    STORE_LOG(zef::LIB_LOG_INFO).put("loftdb listening on %s:%u", host.c_str(), port);

    boost::asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&](const boost::system::error_code&, int) {
        service.Stop();
        context.stop();
    });
    context.run();
    STORE_LOG(zef::LIB_LOG_INFO).put("loftdb stopped after %lu transactions",
                                     static_cast<unsigned long>(service.Transactions()));
    return 0;
}
