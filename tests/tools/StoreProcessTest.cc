// The real loftdb and loftdb-ctl binaries: durability across kill -9, torn
// and damaged journals, compaction, the command line round trips, watch
// output and exit codes.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include "JournalRecord.h"
#include "e2e/ChildProcess.h"
#include "loftdb_store.pb.h"

namespace {

using namespace std::chrono_literals;
using zef::test::ChildProcess;
using zef::test::TempDir;

const char* const kStore = ZEF_LOFTDB_BIN;
const char* const kCtl = ZEF_LOFTDB_CTL_BIN;
constexpr auto kLimit = 20s;

struct Result {
    int code = -1;
    std::string out;
    std::string err;
};

std::string SwitchJson(int id, int vni) {
    const std::string n = std::to_string(id);
    return "{\"id\":{\"left\":\"" + n + "\",\"right\":\"" + n + "\"},\"vni\":" + std::to_string(vni) +
           "}";
}

std::string IdJson(int id) {
    const std::string n = std::to_string(id);
    return "{\"id\":{\"left\":\"" + n + "\",\"right\":\"" + n + "\"}}";
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::set<std::string> LineSet(const std::string& text) {
    auto lines = Lines(text);
    return {lines.begin(), lines.end()};
}

std::string Contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A journal record the store cannot replay: a put of an object without id.
std::string UnreplayableRecord() {
    halden::zef::loftdb::ModifyBatchMsg batch;
    auto* put = batch.add_request()->add_modify()->mutable_put();
    put->mutable_object()->set_object_type(1);
    put->mutable_object()->set_body("");
    return loftdb::JournalRecord::Encode(batch.SerializeAsString());
}

class StoreProcessTest : public ::testing::Test {
protected:
    std::string NewDir() {
        const std::string path = root.Path() + "/run" + std::to_string(++_runs);
        std::filesystem::create_directories(path);
        return path;
    }

    // A store on a free port; its endpoint becomes the one loftdb-ctl uses.
    // With `fdLimit` the store starts under that many file descriptors.
    std::unique_ptr<ChildProcess> StartStore(const std::string& dataDir, int fdLimit = 0,
                                             const std::vector<std::string>& options = {}) {
        std::vector<std::string> args{"--listen", "tcp://127.0.0.1:0"};
        args.insert(args.end(), options.begin(), options.end());
        if (!dataDir.empty()) {
            args.insert(args.end(), {"--data-dir", dataDir});
        }
        std::string program = kStore;
        if (fdLimit > 0) {
            args.insert(args.begin(), {"-c", "ulimit -n " + std::to_string(fdLimit) + " && exec \"$@\"",
                                       "sh", kStore});
            program = "/bin/sh";
        }
        auto store = std::make_unique<ChildProcess>(program, args, std::map<std::string, std::string>{},
                                                    NewDir());
        const std::regex listening("loftdb listening on (tcp://127\\.0\\.0\\.1:[0-9]+)\n");
        const auto deadline = std::chrono::steady_clock::now() + kLimit;
        std::smatch match;
        std::string out;
        while (!std::regex_search(out = store->Stdout(), match, listening)) {
            if (std::chrono::steady_clock::now() >= deadline || store->Wait(0ms)) {
                ADD_FAILURE() << "loftdb did not start: " << out << store->Stderr();
                return store;
            }
            std::this_thread::sleep_for(20ms);
        }
        endpoint = match[1];
        return store;
    }

    void Kill(std::unique_ptr<ChildProcess>& store) {
        store->Signal(SIGKILL);
        EXPECT_EQ(store->Wait(kLimit), 128 + SIGKILL);
        store.reset();
    }

    Result Run(const std::vector<std::string>& args) {
        ChildProcess ctl(kCtl, args, {}, NewDir());
        Result result;
        auto code = ctl.Wait(kLimit);
        EXPECT_TRUE(code) << "loftdb-ctl did not finish";
        result.code = code.value_or(-1);
        result.out = ctl.Stdout();
        result.err = ctl.Stderr();
        return result;
    }

    // loftdb-ctl against the running store, in vdb 0 unless told otherwise.
    Result Ctl(std::vector<std::string> args, const std::string& vdb = "0") {
        args.insert(args.begin(), {"--endpoint", endpoint, "--vdb", vdb});
        return Run(args);
    }

    void ExpectOk(const std::vector<std::string>& args, const std::string& vdb = "0") {
        Result result = Ctl(args, vdb);
        EXPECT_EQ(result.code, 0) << args[0] << ": " << result.err;
    }

    std::set<std::string> All(const std::string& type, const std::string& vdb = "0") {
        Result result = Ctl({"get", type}, vdb);
        EXPECT_EQ(result.code, 0) << result.err;
        return LineSet(result.out);
    }

    TempDir root;
    std::string endpoint;

private:
    int _runs = 0;
};

TEST_F(StoreProcessTest, AcknowledgedObjectsSurviveKillAndRestart) {
    const std::string data = root.Path() + "/data";
    auto store = StartStore(data);
    std::set<std::string> expected;
    for (int id = 1; id <= 5; ++id) {
        ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(id, id)});
    }
    const std::string file = root.Write(
        "batch.json",
        "{\"modify\":[{\"put\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + SwitchJson(6, 6) +
            "}},{\"put\":{\"type\":1,\"object\":" + SwitchJson(7, 7) +
            "}},{\"delete\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + IdJson(5) +
            "}},{\"patch\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + SwitchJson(1, 100) +
            ",\"op\":{\"vni\":\"SET\"}}}]}");
    ExpectOk({"apply", file});
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(8, 8)}, "3");
    expected = {SwitchJson(1, 100), SwitchJson(2, 2), SwitchJson(3, 3), SwitchJson(4, 4),
                SwitchJson(6, 6), SwitchJson(7, 7)};
    ASSERT_EQ(All("LOG_SWITCH_CONFIG"), expected);

    // The first restart replays every record and compacts them into one; the
    // second reads that snapshot and what was appended after it.
    Kill(store);
    store = StartStore(data);
    EXPECT_NE(store->Stdout().find("loftdb recovered 7 objects"), std::string::npos)
        << store->Stdout();
    EXPECT_EQ(All("LOG_SWITCH_CONFIG"), expected);
    EXPECT_EQ(All("LOG_SWITCH_CONFIG", "3"), std::set<std::string>{SwitchJson(8, 8)});
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(9, 9)});
    expected.insert(SwitchJson(9, 9));

    Kill(store);
    store = StartStore(data);
    EXPECT_EQ(All("LOG_SWITCH_CONFIG"), expected);
    EXPECT_EQ(All("LOG_SWITCH_CONFIG", "3"), std::set<std::string>{SwitchJson(8, 8)});

}

TEST_F(StoreProcessTest, TornJournalTailIsCutAndLaterWritesSurvive) {
    const std::vector<std::pair<std::string, std::string>> tails = {
        {"a partial header", std::string("\0\0\0", 3)},
        {"a header promising more than follows", std::string("\0\0\0\x64\0\0\0\0short", 13)},
        {"a whole record with a wrong checksum", std::string("\0\0\0\x05\x12\x34\x56\x78hello", 13)},
        {"an impossible length", std::string("\xff\xff\xff\xff\0\0\0\0", 8)},
    };
    int round = 0;
    for (const auto& [what, tail] : tails) {
        SCOPED_TRACE(what);
        const std::string data = root.Path() + "/torn" + std::to_string(++round);
        auto store = StartStore(data);
        ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)});
        Kill(store);
        const auto intact = std::filesystem::file_size(data + "/journal");
        std::ofstream(data + "/journal", std::ios::binary | std::ios::app) << tail;

        store = StartStore(data);
        EXPECT_EQ(All("LOG_SWITCH_CONFIG"), std::set<std::string>{SwitchJson(1, 1)});
        EXPECT_EQ(std::filesystem::file_size(data + "/journal"), intact) << "the tail is cut";
        ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(2, 2)});
        Kill(store);

        store = StartStore(data);
        EXPECT_EQ(All("LOG_SWITCH_CONFIG"),
                  (std::set<std::string>{SwitchJson(1, 1), SwitchJson(2, 2)}));
    }
}

TEST_F(StoreProcessTest, DamagedJournalRefusesToStartUntilRecoveredToWhatPrecedesTheDamage) {
    const std::vector<std::string> damages = {"a flipped byte", "a record that does not replay"};
    for (const std::string& damage : damages) {
        SCOPED_TRACE(damage);
        const std::string data = NewDir();
        const std::string journal = data + "/journal";
        auto store = StartStore(data);
        for (int id = 1; id <= 3; ++id) {
            ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(id, id)});
        }
        Kill(store);
        std::string bytes = Contents(journal);
        const size_t second = loftdb::JournalRecord::kHeader + loftdb::JournalRecord::Decode(bytes, 0)->size();
        if (damage == "a flipped byte") {
            bytes[second + loftdb::JournalRecord::kHeader + 2] ^= 0x40;
        } else {
            bytes.insert(second, UnreplayableRecord());
        }
        std::ofstream(journal, std::ios::binary | std::ios::trunc) << bytes;

        ChildProcess refused(kStore, {"--listen", "tcp://127.0.0.1:0", "--data-dir", data}, {}, NewDir());
        EXPECT_EQ(refused.Wait(kLimit), 1);
        const std::string said = refused.Stdout();
        EXPECT_NE(said.find(journal + ": the record at offset " + std::to_string(second)), std::string::npos)
            << said;
        EXPECT_NE(said.find("--recover-journal"), std::string::npos) << said;
        EXPECT_EQ(Contents(journal), bytes) << "a refusal changes nothing";

        store = StartStore(data, 0, {"--recover-journal"});
        EXPECT_NE(store->Stdout().find("kept as " + journal + ".damaged.1"), std::string::npos)
            << store->Stdout();
        EXPECT_EQ(Contents(journal + ".damaged.1"), bytes);
        EXPECT_EQ(All("LOG_SWITCH_CONFIG"), std::set<std::string>{SwitchJson(1, 1)});
        ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(4, 4)});
        Kill(store);

        store = StartStore(data);
        EXPECT_EQ(All("LOG_SWITCH_CONFIG"), (std::set<std::string>{SwitchJson(1, 1), SwitchJson(4, 4)}));
        Kill(store);
    }
}

TEST_F(StoreProcessTest, JournalCompactedWhileRunningIsReadBackAfterKill) {
    const std::string data = root.Path() + "/data";
    auto store = StartStore(data, 0, {"--journal-limit", "1K"});
    std::set<std::string> expected;
    for (int round = 0; round < 8; ++round) {
        std::string modify;
        for (int id = round * 8 + 1; id <= round * 8 + 8; ++id) {
            modify += "{\"put\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + SwitchJson(id, id) + "}},";
            expected.insert(SwitchJson(id, id));
        }
        modify += "{\"delete\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + IdJson(round * 8 + 1) + "}}";
        expected.erase(SwitchJson(round * 8 + 1, round * 8 + 1));
        ExpectOk({"apply", root.Write("round.json", "{\"modify\":[" + modify + "]}")});
    }
    EXPECT_TRUE(store->WaitForOutput("compacted the journal", kLimit)) << store->Stdout();
    Kill(store);
    const std::string bytes = Contents(data + "/journal");
    size_t records = 0;
    size_t at = 0;
    while (auto payload = loftdb::JournalRecord::Decode(bytes, at)) {
        at += loftdb::JournalRecord::kHeader + payload->size();
        ++records;
    }
    EXPECT_LT(records, 8u) << "fewer records than transactions";

    store = StartStore(data);
    EXPECT_EQ(All("LOG_SWITCH_CONFIG"), expected);
}

TEST_F(StoreProcessTest, PatchClearingTheKeyDoesNotLoseTheStoreOnRestart) {
    const std::string data = root.Path() + "/data";
    auto store = StartStore(data);
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)});
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(2, 2)});
    Ctl({"patch", "LOG_SWITCH_CONFIG", IdJson(2), "{\"id\":{\"self\":\"CLEAR\"}}"});
    for (int restart = 0; restart < 2; ++restart) {
        Kill(store);
        store = StartStore(data);
    }
    EXPECT_EQ(Ctl({"get", "LOG_SWITCH_CONFIG", IdJson(1)}).out, SwitchJson(1, 1) + "\n");
}

TEST_F(StoreProcessTest, CtlPutGetPatchDeleteFlushAndApplyRoundTrip) {
    auto store = StartStore("");
    ExpectOk({"put", "LOG_SWITCH_CONFIG",
              "{\"id\":{\"left\":\"1\",\"right\":\"1\"},\"vni\":1,\"switch_name\":\"a\"}"});
    Result one = Ctl({"get", "1", IdJson(1)});
    EXPECT_EQ(one.code, 0) << one.err;
    EXPECT_EQ(one.out, "{\"id\":{\"left\":\"1\",\"right\":\"1\"},\"vni\":1,\"switch_name\":\"a\"}\n")
        << "a type by its code";

    ExpectOk({"patch", "LOG_SWITCH_CONFIG", SwitchJson(1, 2), "{\"vni\":\"SET\",\"switch_name\":\"CLEAR\"}"});
    EXPECT_EQ(Ctl({"get", "LOG_SWITCH_CONFIG", IdJson(1)}).out, SwitchJson(1, 2) + "\n");

    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(2, 2)}, "4");
    EXPECT_EQ(All("LOG_SWITCH_CONFIG"), std::set<std::string>{SwitchJson(1, 2)});
    EXPECT_EQ(All("LOG_SWITCH_CONFIG", "4"), std::set<std::string>{SwitchJson(2, 2)});

    ExpectOk({"delete", "LOG_SWITCH_CONFIG", IdJson(1)});
    Result gone = Ctl({"get", "LOG_SWITCH_CONFIG", IdJson(1)});
    EXPECT_EQ(gone.code, 1);
    EXPECT_NE(gone.err.find("no such object"), std::string::npos) << gone.err;
    EXPECT_TRUE(All("LOG_SWITCH_CONFIG").empty());

    const std::string fib = "{\"id\":{\"left\":\"7\"},\"vteps\":[{\"vtep_label\":{\"label\":1}}]}";
    const std::string file = root.Write(
        "apply.json",
        "{\"vdb\":[0],\"modify\":[{\"put\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" +
            SwitchJson(3, 3) + "}},{\"put\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" +
            SwitchJson(4, 4) + "}},{\"put\":{\"type\":\"LOG_SWITCH_FIB\",\"object\":" + fib +
            "}},{\"patch\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + SwitchJson(3, 33) +
            ",\"op\":{\"vni\":\"SET\"}}},{\"delete\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" +
            IdJson(4) + "}}]}");
    Result applied = Ctl({"apply", file}, "9");
    EXPECT_EQ(applied.code, 0) << applied.err;
    EXPECT_EQ(All("LOG_SWITCH_CONFIG"), std::set<std::string>{SwitchJson(3, 33)})
        << "the file's vdb wins over --vdb";
    EXPECT_EQ(All("LOG_SWITCH_FIB"), std::set<std::string>{fib});

    ExpectOk({"flush", "LOG_SWITCH_CONFIG"});
    EXPECT_TRUE(All("LOG_SWITCH_CONFIG").empty());
    EXPECT_EQ(All("LOG_SWITCH_CONFIG", "4").size(), 1u);
    EXPECT_EQ(All("LOG_SWITCH_FIB").size(), 1u);
}

TEST_F(StoreProcessTest, ApplyFileNamingSeveralVdbsWritesToEachOfThem) {
    auto store = StartStore("");
    const std::string file = root.Write(
        "apply.json", "{\"vdb\":[2,3],\"modify\":[{\"put\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" +
                          SwitchJson(1, 1) + "}}]}");
    Result applied = Ctl({"apply", file}, "1");
    EXPECT_EQ(applied.code, 0) << applied.err;
    EXPECT_EQ(All("LOG_SWITCH_CONFIG", "2").size(), 1u);
    EXPECT_EQ(All("LOG_SWITCH_CONFIG", "3").size(), 1u);
    EXPECT_TRUE(All("LOG_SWITCH_CONFIG", "1").empty());
}

TEST_F(StoreProcessTest, WatchPrintsUpdatesAndBarriersUntilItHasEnough) {
    auto store = StartStore("");
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)});
    ChildProcess watch(kCtl,
                       {"--endpoint", endpoint, "--vdb", "0", "watch", "--barriers", "3",
                        "LOG_SWITCH_CONFIG"},
                       {}, NewDir());
    ChildProcess entries(kCtl,
                         {"--endpoint", endpoint, "--vdb", "0", "watch", "--barriers", "2",
                          "--entries", "LOG_SWITCH_FIB"},
                         {}, NewDir());
    ASSERT_TRUE(watch.WaitForOutput("{\"barrier\":true}", kLimit)) << watch.Stderr();
    ASSERT_TRUE(entries.WaitForOutput("{\"barrier\":true}", kLimit)) << entries.Stderr();
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(2, 2)});
    ExpectOk({"delete", "LOG_SWITCH_CONFIG", IdJson(1)});
    ExpectOk({"put", "LOG_SWITCH_FIB", "{\"id\":{\"left\":\"7\"},\"vteps\":[{\"vtep_label\":{\"label\":1}}]}"});
    ASSERT_EQ(watch.Wait(kLimit), 0) << watch.Stderr();
    ASSERT_EQ(entries.Wait(kLimit), 0) << entries.Stderr();

    const std::string barrier = "{\"barrier\":true}";
    const std::string head = "{\"update\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":";
    const std::string created = ",\"op\":{\"id\":{\"self\":\"SET\"},\"vni\":\"SET\",\"self\":\"SET\"}}}";
    EXPECT_EQ(Lines(watch.Stdout()),
              (std::vector<std::string>{
                  head + SwitchJson(1, 1) + created, barrier,
                  head + SwitchJson(2, 2) + created, barrier,
                  head + SwitchJson(1, 1) +
                      ",\"op\":{\"id\":{\"self\":\"CLEAR\"},\"vni\":\"CLEAR\",\"self\":\"CLEAR\"},\"old\":" +
                      SwitchJson(1, 1) + "}}",
                  barrier}));
    auto lines = Lines(entries.Stdout());
    ASSERT_EQ(lines.size(), 3u) << entries.Stdout();
    EXPECT_EQ(lines[0], barrier) << "nothing to replay";
    EXPECT_NE(lines[1].find("\"vteps\":[{\"self\":\"INSERT\"}]"), std::string::npos) << lines[1];
    EXPECT_EQ(lines[2], barrier);
}

TEST_F(StoreProcessTest, CtlExitCodesTellRefusalUsageAndUnreachableApart) {
    auto store = StartStore("");
    const std::string missing = root.Path() + "/none.json";
    const std::string notJson = root.Write("bad.json", "{\"modify\":");
    const std::string noList = root.Write("nolist.json", "{\"put\":{}}");
    const std::string badEntry = root.Write(
        "entry.json", "{\"modify\":[{\"upsert\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":{}}}]}");
    const std::string noType = root.Write("notype.json", "{\"modify\":[{\"put\":{\"object\":{}}}]}");
    const std::string scalar = root.Write("scalar.json", "{\"modify\":[7]}");
    const std::vector<std::pair<std::vector<std::string>, std::string>> refused = {
        {{"put", "LOG_SWITCH_CONFIG", "{bad"}, "bad JSON"},
        {{"put", "LOG_SWITCH_CONFIG", "{\"no_such_field\":1}"}, "bad JSON"},
        {{"put", "NO_SUCH_TYPE", "{}"}, "unknown object type NO_SUCH_TYPE"},
        {{"put", "LOG_SWITCH_CONFIG", "{\"vni\":1}"}, "has no id"},
        {{"patch", "LOG_SWITCH_CONFIG", IdJson(5), "{\"vni\":\"SET\"}"}, "no LOG_SWITCH_CONFIG object to patch"},
        {{"patch", "LOG_SWITCH_CONFIG", IdJson(5), "{\"vni\":\"NO_SUCH_OP\"}"}, "bad JSON"},
        {{"patch", "LOG_SWITCH_CONFIG", IdJson(5), "{\"vni\":99}"}, "means nothing: LogSwitchConfigOpMsg.vni: 99"},
        {{"get", "LOG_SWITCH_CONFIG", IdJson(5)}, "no such object"},
        {{"get", "LOG_SWITCH_CONFIG", "{}"}, "gives no id"},
        {{"apply", missing}, "cannot read"},
        {{"apply", notJson}, "\"modify\" list"},
        {{"apply", noList}, "\"modify\" list"},
        {{"apply", badEntry}, "unknown modify upsert"},
        {{"apply", noType}, "without type"},
        {{"apply", scalar}, "holds one of"},
    };
    for (const auto& [args, reason] : refused) {
        Result result = Ctl(args);
        EXPECT_EQ(result.code, 1) << args[0] << " " << args.back() << ": " << result.err;
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
    }
    EXPECT_TRUE(All("LOG_SWITCH_CONFIG").empty()) << "nothing refused was stored";

    const std::vector<std::vector<std::string>> usage = {
        {}, {"frobnicate"}, {"put", "LOG_SWITCH_CONFIG"}, {"flush"}, {"watch"}, {"--bogus", "x", "get", "1"},
    };
    for (const auto& args : usage) {
        Result result = Ctl(args);
        EXPECT_EQ(result.code, 2) << (args.empty() ? "no command" : args[0]) << ": " << result.err;
        EXPECT_NE(result.err.find("Usage: loftdb-ctl"), std::string::npos) << result.err;
    }

    const std::string nowhere = "tcp://127.0.0.1:" + std::to_string(zef::test::FreePort());
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"get", "LOG_SWITCH_CONFIG"}, {"put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)}}) {
        std::vector<std::string> args{"--endpoint", nowhere, "--timeout", "1"};
        args.insert(args.end(), command.begin(), command.end());
        Result result = Run(args);
        EXPECT_EQ(result.code, 3) << command[0] << ": " << result.err;
        EXPECT_NE(result.err.find("cannot reach the store at " + nowhere), std::string::npos)
            << result.err;
    }
}

TEST_F(StoreProcessTest, ApplyEntryThatIsAListIsRefusedAsBadInput) {
    auto store = StartStore("");
    const std::string nested = root.Write(
        "nested.json",
        "{\"modify\":[[{\"put\":{\"type\":\"LOG_SWITCH_CONFIG\",\"object\":" + SwitchJson(1, 1) + "}}]]}");
    Result result = Ctl({"apply", nested});
    EXPECT_EQ(result.code, 1) << result.err;
}

TEST_F(StoreProcessTest, CtlFacingAStoreThatNeverAnswersExitsUnreachable) {
    auto store = StartStore("");
    store->Signal(SIGSTOP);  // the kernel still accepts connections, nobody answers
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"get", "LOG_SWITCH_CONFIG"}, {"put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)}}) {
        std::vector<std::string> args{"--endpoint", endpoint, "--timeout", "1"};
        args.insert(args.end(), command.begin(), command.end());
        Result result = Run(args);
        EXPECT_EQ(result.code, 3) << command[0] << ": " << result.err;
        EXPECT_NE(result.err.find("the store did not answer"), std::string::npos) << result.err;
    }
    store->Signal(SIGCONT);
}

TEST_F(StoreProcessTest, StoreAcceptsAgainAfterRunningOutOfDescriptors) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "descriptor exhaustion trips the sanitizer runtime itself";
#endif
    constexpr int kFdLimit = 32;
    auto store = StartStore("", kFdLimit);
    const std::string fds = "/proc/" + std::to_string(store->Pid()) + "/fd";
    const uint16_t port = static_cast<uint16_t>(std::stoi(endpoint.substr(endpoint.rfind(':') + 1)));
    std::vector<int> clients;
    for (int i = 0; i < kFdLimit + 16; ++i) {
        int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        clients.push_back(fd);
    }
    // Once the store holds every descriptor it may, its next accept fails.
    const auto deadline = std::chrono::steady_clock::now() + kLimit;
    auto open = [&] {
        return std::distance(std::filesystem::directory_iterator(fds),
                             std::filesystem::directory_iterator());
    };
    while (open() < kFdLimit && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(20ms);
    }
    for (int fd : clients) {
        close(fd);
    }
    Result result = Ctl({"--timeout", "10", "put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)});
    EXPECT_EQ(result.code, 0) << result.err;
}

TEST_F(StoreProcessTest, StoreRefusesBadArgumentsAndATakenPortAndStopsOnSigterm) {
    for (const auto& args : std::vector<std::vector<std::string>>{
             {"--bogus"}, {"--journal-limit", "0"}, {"--journal-limit", "12X"}, {"--data-dir"}}) {
        ChildProcess bad(kStore, args, {}, NewDir());
        EXPECT_EQ(bad.Wait(kLimit), 2) << args[0];
        EXPECT_NE(bad.Stderr().find("Usage: "), std::string::npos) << bad.Stderr();
    }

    auto store = StartStore("");
    ExpectOk({"put", "LOG_SWITCH_CONFIG", SwitchJson(1, 1)});

    ChildProcess second(kStore, {"--listen", endpoint}, {}, NewDir());
    EXPECT_EQ(second.Wait(kLimit), 1);
    EXPECT_NE(second.Stdout().find("cannot listen on " + endpoint), std::string::npos)
        << second.Stdout() << second.Stderr();

    store->Signal(SIGTERM);
    EXPECT_EQ(store->Wait(kLimit), 0) << store->Stderr();
    EXPECT_NE(store->Stdout().find("loftdb stopped after 1 transactions"), std::string::npos)
        << store->Stdout();
}

}  // namespace
