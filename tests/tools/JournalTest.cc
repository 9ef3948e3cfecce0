// The journal under injected file faults: failed writes and syncs are undone
// or stop further writes, damage is told apart from a torn tail, and a
// journal compacted while the store runs reads back whole.

#include <fcntl.h>
#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "Journal.h"
#include "JournalRecord.h"
#include "ObjectStore.h"
#include "PosixFileSystem.h"
#include "StoreService.h"
#include "StoreTestSupport.h"
#include "e2e/ChildProcess.h"

namespace {

using loftdb::Journal;
using Payloads = std::vector<std::string>;

// The real file system but for the faults a test switches on.
class FaultyFileSystem : public loftdb::PosixFileSystem {
public:
    bool tearWrites = false;  // half of each write lands, then it fails
    bool failDataSync = false;
    bool failTruncate = false;
    bool failRename = false;
    bool failDirectorySync = false;

    int Open(const std::string& path, int flags, mode_t mode) override {
        const int fd = PosixFileSystem::Open(path, flags, mode);
        if (fd >= 0 && (flags & O_DIRECTORY) != 0) {
            _directories.insert(fd);
        }
        return fd;
    }
    int Close(int fd) override {
        _directories.erase(fd);
        return PosixFileSystem::Close(fd);
    }
    ssize_t Write(int fd, const void* data, size_t size) override {
        if (!tearWrites) {
            return PosixFileSystem::Write(fd, data, size);
        }
        if (PosixFileSystem::Write(fd, data, size / 2) < 0) {
            return -1;
        }
        return Fail();
    }
    int DataSync(int fd) override { return failDataSync ? Fail() : PosixFileSystem::DataSync(fd); }
    int Sync(int fd) override {
        return failDirectorySync && _directories.count(fd) != 0 ? Fail()
                                                                : PosixFileSystem::Sync(fd);
    }
    int Truncate(int fd, off_t length) override {
        return failTruncate ? Fail() : PosixFileSystem::Truncate(fd, length);
    }
    int Rename(const std::string& from, const std::string& to) override {
        return failRename ? Fail() : PosixFileSystem::Rename(from, to);
    }

private:
    static int Fail() {
        errno = EIO;
        return -1;
    }

    std::set<int> _directories;
};

std::string Contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Overwrite(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

size_t RecordSize(const std::string& payload) {
    return loftdb::JournalRecord::kHeader + payload.size();
}

class JournalTest : public ::testing::Test {
protected:
    std::string NewDir() { return root.Path() + "/data" + std::to_string(++_dirs); }

    // Opens `journal` in `dir`, expecting `outcome`; the payloads replayed.
    Payloads Open(Journal& journal, const std::string& dir, Journal::Opened outcome,
                  bool recover = false, const std::string& rejected = "") {
        Payloads replayed;
        error.clear();
        const auto opened = journal.Open(
            dir, recover,
            [&](std::string_view payload, std::string& why) {
                if (payload == rejected) {
                    why = "rejected by the test";
                    return false;
                }
                replayed.emplace_back(payload);
                return true;
            },
            error);
        EXPECT_EQ(opened, outcome) << error;
        return replayed;
    }

    // What a fresh start on the real file system replays.
    Payloads Reopen(const std::string& dir) {
        loftdb::PosixFileSystem posix;
        Journal fresh(posix);
        return Open(fresh, dir, Journal::Opened::kReady);
    }

    // A journal in a new directory holding `payloads`; its directory.
    std::string Filled(const Payloads& payloads) {
        const std::string dir = NewDir();
        Journal journal(files);
        Open(journal, dir, Journal::Opened::kReady);
        for (const auto& payload : payloads) {
            EXPECT_TRUE(journal.Append(payload, error)) << error;
        }
        return dir;
    }

    zef::test::TempDir root;
    FaultyFileSystem files;
    std::string error;

private:
    int _dirs = 0;
};

TEST_F(JournalTest, FailedAppendIsCutOffSoLaterAppendsReplay) {
    for (bool FaultyFileSystem::*fault :
         {&FaultyFileSystem::tearWrites, &FaultyFileSystem::failDataSync}) {
        SCOPED_TRACE(fault == &FaultyFileSystem::tearWrites ? "torn write" : "failed data sync");
        const std::string dir = NewDir();
        Journal journal(files);
        Open(journal, dir, Journal::Opened::kReady);
        ASSERT_TRUE(journal.Append("first", error)) << error;
        files.*fault = true;
        EXPECT_FALSE(journal.Append("refused", error));
        EXPECT_NE(error.find("the transaction was not applied"), std::string::npos) << error;
        files.*fault = false;
        ASSERT_TRUE(journal.Append("second", error)) << error;

        EXPECT_EQ(std::filesystem::file_size(dir + "/journal"),
                  RecordSize("first") + RecordSize("second"));
        EXPECT_EQ(Reopen(dir), (Payloads{"first", "second"}));
    }
}

TEST_F(JournalTest, AppendWhoseUndoFailsStopsEveryLaterWrite) {
    struct Case {
        const char* what;
        bool FaultyFileSystem::*fault;
        Payloads afterRestart;  // the refused record is whole only when the sync failed
    };
    const std::vector<Case> cases = {
        {"torn write", &FaultyFileSystem::tearWrites, {"first"}},
        {"failed data sync", &FaultyFileSystem::failDataSync, {"first", "unknown"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string dir = NewDir();
        Journal journal(files);
        Open(journal, dir, Journal::Opened::kReady);
        ASSERT_TRUE(journal.Append("first", error)) << error;
        files.*c.fault = true;
        files.failTruncate = true;
        EXPECT_FALSE(journal.Append("unknown", error));
        EXPECT_NE(error.find("takes no more writes"), std::string::npos) << error;
        EXPECT_NE(error.find("is unknown"), std::string::npos) << error;
        files.*c.fault = false;
        files.failTruncate = false;

        const auto size = std::filesystem::file_size(dir + "/journal");
        EXPECT_FALSE(journal.Append("later", error));
        EXPECT_FALSE(journal.Rewrite("snapshot", error));
        EXPECT_EQ(std::filesystem::file_size(dir + "/journal"), size)
            << "nothing after the garbage";
        EXPECT_EQ(Reopen(dir), c.afterRestart);
    }
}

TEST_F(JournalTest, TornLastRecordIsCutAtOpen) {
    const Payloads payloads = {"first", "second", "third"};
    const size_t third = RecordSize("first") + RecordSize("second");
    const std::vector<std::pair<std::string, std::function<void(std::string&)>>> tears = {
        {"last record cut short", [](std::string& bytes) { bytes.resize(bytes.size() - 2); }},
        {"byte flipped in the last payload", [](std::string& bytes) { bytes.back() ^= 0x01; }},
        {"length of the last record too large", [&](std::string& bytes) { bytes[third] = 0x7f; }},
        {"zeros after a partial header",
         [](std::string& bytes) { bytes += std::string("\x01\x02", 2) + std::string(64, '\0'); }},
    };
    for (const auto& [what, tear] : tears) {
        SCOPED_TRACE(what);
        const std::string dir = Filled(payloads);
        std::string bytes = Contents(dir + "/journal");
        tear(bytes);
        Overwrite(dir + "/journal", bytes);

        const Payloads kept = Reopen(dir);
        ASSERT_GE(kept.size(), 2u);
        EXPECT_EQ(Payloads(kept.begin(), kept.begin() + 2), (Payloads{"first", "second"}));
        const auto size = std::filesystem::file_size(dir + "/journal");
        EXPECT_EQ(size, kept.size() == 2 ? third : third + RecordSize("third"))
            << "cut where it broke";
    }
}

TEST_F(JournalTest, DamageBeforeIntactRecordsRefusesUntilRecovered) {
    const Payloads payloads = {"first", "second", "third"};
    const size_t second = RecordSize("first");
    struct Case {
        std::string what;
        std::function<void(std::string&)> damage;
        std::string rejected;
    };
    const std::vector<Case> cases = {
        {"byte flipped in a middle payload", [&](std::string& bytes) { bytes[second + 9] ^= 0x20; },
         ""},
        {"length of a middle record too large", [&](std::string& bytes) { bytes[second] = 0x7f; },
         ""},
        {"checksum of a middle record wrong",
         [&](std::string& bytes) { bytes[second + 5] ^= 0x01; }, ""},
        {"a middle record that does not replay", [](std::string&) {}, "second"},
        {"a last record that does not replay", [](std::string&) {}, "third"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string dir = Filled(payloads);
        std::string bytes = Contents(dir + "/journal");
        c.damage(bytes);
        Overwrite(dir + "/journal", bytes);
        const size_t at = c.rejected == "third" ? second + RecordSize("second") : second;
        const Payloads before(payloads.begin(), payloads.begin() + (at == second ? 1 : 2));

        Journal refused(files);
        Open(refused, dir, Journal::Opened::kDamaged, false, c.rejected);
        EXPECT_NE(error.find(dir + "/journal: the record at offset " + std::to_string(at)),
                  std::string::npos)
            << error;
        EXPECT_EQ(refused.Records(), before.size());
        EXPECT_EQ(Contents(dir + "/journal"), bytes) << "a refusal changes nothing";

        Journal recovered(files);
        EXPECT_EQ(Open(recovered, dir, Journal::Opened::kReady, true, c.rejected), before);
        EXPECT_EQ(Contents(dir + "/journal.damaged.1"), bytes);
        EXPECT_EQ(Contents(dir + "/journal"), bytes.substr(0, at));
        ASSERT_TRUE(recovered.Append("after", error)) << error;
        Payloads expected = before;
        expected.push_back("after");
        EXPECT_EQ(Reopen(dir), expected);
    }
}

TEST_F(JournalTest, RewriteThatFailsKeepsTheOldJournalOrStopsWrites) {
    const std::string dir = Filled({"first", "second"});
    Journal journal(files);
    Open(journal, dir, Journal::Opened::kReady);
    files.failRename = true;
    EXPECT_FALSE(journal.Rewrite("snapshot", error));
    files.failRename = false;
    ASSERT_TRUE(journal.Append("third", error)) << error;
    EXPECT_EQ(Reopen(dir), (Payloads{"first", "second", "third"})) << "the old journal goes on";

    // Once renamed, the new file may be lost in a crash along with anything
    // appended to it, unless its directory is synced.
    files.failDirectorySync = true;
    EXPECT_FALSE(journal.Rewrite("snapshot", error));
    files.failDirectorySync = false;
    EXPECT_FALSE(journal.Append("fourth", error));
    EXPECT_NE(error.find("takes no more writes"), std::string::npos) << error;
    EXPECT_EQ(Reopen(dir), (Payloads{"snapshot"}));
}

TEST_F(JournalTest, StoreCompactsItsJournalWhileRunningAndRestartsFromIt) {
    using zef::test::KeyOf;
    using zef::test::kSwitch;
    constexpr uint64_t kLimit = 2048;
    const std::string dir = NewDir();
    loftdb::PosixFileSystem posix;
    boost::asio::io_context context;
    auto apply = [](loftdb::StoreService& service, const halden::zef::loftdb::ModifyMsg& modify) {
        halden::zef::loftdb::ModifyBatchMsg batch;
        *batch.add_request() = zef::test::RequestOf({modify});
        std::string why;
        EXPECT_TRUE(service.Apply(batch, false, why)) << why;
    };
    auto replayInto = [](loftdb::StoreService& service) {
        return [&service](std::string_view payload, std::string& why) {
            halden::zef::loftdb::ModifyBatchMsg batch;
            return batch.ParseFromArray(payload.data(), static_cast<int>(payload.size())) &&
                   service.Apply(batch, true, why);
        };
    };

    loftdb::ObjectStore store;
    Journal journal(posix);
    loftdb::StoreService service(context, store, &journal, kLimit);
    ASSERT_EQ(journal.Open(dir, false, replayInto(service), error), Journal::Opened::kReady)
        << error;
    size_t transactions = 0;
    for (uint64_t id = 1; id <= 200; ++id) {
        apply(service,
              zef::test::PutOf(kSwitch, zef::test::Switch(id, static_cast<uint32_t>(id), "")));
        ++transactions;
        if (id % 3 == 0) {
            apply(service, zef::test::DeleteOf(kSwitch, zef::test::Switch(id - 1, 0, "")));
            ++transactions;
        }
    }
    EXPECT_LT(journal.Records(), transactions) << "compacted while running";
    EXPECT_EQ(std::filesystem::file_size(dir + "/journal"), journal.Bytes());

    loftdb::ObjectStore restarted;
    Journal reopened(posix);
    loftdb::StoreService again(context, restarted, &reopened, kLimit);
    ASSERT_EQ(reopened.Open(dir, false, replayInto(again), error), Journal::Opened::kReady)
        << error;
    EXPECT_EQ(restarted.Size(), 200u - 200u / 3);
    EXPECT_EQ(restarted.All(0, kSwitch), store.All(0, kSwitch));
    EXPECT_FALSE(restarted.Get({0, kSwitch, KeyOf(2)}));
}

}  // namespace
