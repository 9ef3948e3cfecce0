// loftdb: the host's object store service.
//
//   loftdb [--listen tcp://HOST:PORT] [--data-dir DIR] [--journal-limit BYTES]
//          [--recover-journal]
//
// Without a data directory the store lives in memory. The listening endpoint
// defaults to ZEF_LOFTDB_ENDPOINT, else tcp://127.0.0.1:2480.

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "Journal.h"
#include "ObjectStore.h"
#include "PosixFileSystem.h"
#include "StoreService.h"
#include "host/Endpoints.h"
#include "log/zef/Logger.h"
#include "loftdb_store.pb.h"
#include "zef/LibraryLogLevels.h"

namespace {

#define STORE_LOG(level) ZEF_LIB_LOG(zef::loftdb::library_log_level, level).s2comp("loftdb")

struct Options {
    std::string endpoint = CfgAgent::Endpoints::Loftdb();
    std::string dataDir;
    uint64_t journalLimit = loftdb::StoreService::kDefaultJournalLimit;
    bool recoverJournal = false;
};

int Usage(const char* program) {
    std::fprintf(stderr,
                 "Usage: %s [--listen tcp://HOST:PORT] [--data-dir DIR] [--journal-limit BYTES[K|M|G]]"
                 " [--recover-journal]\n",
                 program);
    return 2;
}

// A positive byte count with an optional K, M or G.
std::optional<uint64_t> ParseBytes(const std::string& text) {
    size_t used = 0;
    uint64_t value = 0;
    try {
        value = std::stoull(text, &used);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    const std::string unit = text.substr(used);
    const int shift = unit.empty() ? 0 : unit == "K" ? 10 : unit == "M" ? 20 : unit == "G" ? 30 : -1;
    if (shift < 0 || value == 0 || text[0] == '-' || value > (UINT64_MAX >> shift)) {
        return std::nullopt;
    }
    return value << shift;
}

std::optional<Options> Parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool valued = arg == "--listen" || arg == "--data-dir" || arg == "--journal-limit";
        if (arg == "--recover-journal") {
            options.recoverJournal = true;
        } else if (!valued || i + 1 == argc) {
            return std::nullopt;
        } else if (arg == "--journal-limit") {
            auto limit = ParseBytes(argv[++i]);
            if (!limit) {
                return std::nullopt;
            }
            options.journalLimit = *limit;
        } else {
            (arg == "--listen" ? options.endpoint : options.dataDir) = argv[++i];
        }
    }
    return options;
}

// Replays the journal into the store, then compacts it; false, once the
// reason is logged, when the store must not start.
bool Recover(loftdb::Journal& journal, loftdb::StoreService& service,
             const loftdb::ObjectStore& store, const Options& options) {
    std::string error;
    const auto opened = journal.Open(
        options.dataDir, options.recoverJournal,
        [&](std::string_view payload, std::string& why) {
            halden::zef::loftdb::ModifyBatchMsg batch;
            if (!batch.ParseFromArray(payload.data(), static_cast<int>(payload.size()))) {
                why = "it does not parse";
                return false;
            }
            return service.Apply(batch, true, why);
        },
        error);
    if (opened == loftdb::Journal::Opened::kDamaged) {
        STORE_LOG(zef::LIB_LOG_ERROR)
            .put("loftdb: %s; nothing was changed. Start once with --recover-journal to keep the "
                 "%zu record(s) before it; the whole file is then kept aside",
                 error.c_str(), journal.Records());
        return false;
    }
    if (opened == loftdb::Journal::Opened::kFailed ||
        (journal.Records() > 1 && !service.Compact(error))) {
        STORE_LOG(zef::LIB_LOG_ERROR).put("loftdb: %s", error.c_str());
        return false;
    }
    STORE_LOG(zef::LIB_LOG_INFO)
        .put("loftdb recovered %zu objects from %s", store.Size(), options.dataDir.c_str());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = Parse(argc, argv);
    if (!options) {
        return Usage(argv[0]);
    }
    std::signal(SIGPIPE, SIG_IGN);

    boost::asio::io_context context;
    loftdb::ObjectStore store;
    loftdb::PosixFileSystem files;
    loftdb::Journal journal(files);
    const bool durable = !options->dataDir.empty();
    loftdb::StoreService service(context, store, durable ? &journal : nullptr, options->journalLimit);
    if (durable && !Recover(journal, service, store, *options)) {
        return 1;
    }

    std::string error;
    const uint16_t port = service.Listen(options->endpoint, error);
    if (port == 0) {
        STORE_LOG(zef::LIB_LOG_ERROR).put("loftdb: %s", error.c_str());
        return 1;
    }
    const std::string host = options->endpoint.substr(0, options->endpoint.rfind(':'));
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
