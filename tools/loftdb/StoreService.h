#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ObjectStore.h"
#include "Transaction.h"
#include "loftdb_store.pb.h"

namespace loftdb {

class Journal;
class StoreSession;

// The store service: one thread, every request handled in arrival order, so
// that transactions are totally ordered and each monitor sees them whole.
class StoreService {
public:
    static constexpr uint32_t kMaxFrame = 64u << 20;
    static constexpr uint64_t kDefaultJournalLimit = 64u << 20;

    // `journal` may be null: the store then lives in memory only. Past
    // `journalLimit` bytes the journal is compacted into a snapshot.
    StoreService(boost::asio::io_context& context, ObjectStore& store, Journal* journal,
                 uint64_t journalLimit = kDefaultJournalLimit);

    // The bound port, or 0 when the endpoint could not be bound.
    uint16_t Listen(const std::string& endpoint, std::string& error);
    void Stop();

    // Applies a batch as one transaction: validated whole, journaled (unless
    // `replaying` the journal itself), committed, then published.
    bool Apply(const halden::zef::loftdb::ModifyBatchMsg& batch, bool replaying, std::string& error);
    uint64_t Transactions() const { return _transactions; }
    // Rewrites the journal as one snapshot of the live objects.
    bool Compact(std::string& error);

private:
    void Accept();
    void OnFrame(const std::shared_ptr<StoreSession>& session, const std::string& bytes);
    void Reply(StoreSession& session, uint64_t requestId, bool ok, const std::string& error);
    void Configure(StoreSession& session, const halden::zef::loftdb::ConfigureMonitorMsg& configure);
    void Read(StoreSession& session, uint64_t requestId, const halden::zef::loftdb::ReadMsg& read);
    void Publish(const std::vector<Change>& changes);
    void CompactIfDue();

    boost::asio::io_context& _context;
    boost::asio::ip::tcp::acceptor _acceptor;
    boost::asio::steady_timer _acceptRetry;
    ObjectStore& _store;
    Journal* _journal;
    uint64_t _journalLimit;
    uint64_t _compactAt;
    std::map<StoreSession*, std::shared_ptr<StoreSession>> _sessions;
    uint64_t _transactions = 0;
};

}  // namespace loftdb
