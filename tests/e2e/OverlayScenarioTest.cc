#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "OverlayRoad.h"

namespace {

using zef::test::Overlay;
using zef::test::OverlayStore;
using Switch = OverlayStore::Switch;

constexpr int kRounds = 8;
constexpr uint64_t kSwitches = 8;

// Random switches, VTEPs, MACs and VNI joins in random transactions; after
// each round the overlay module must hold what the store implies. The seed
// is printed; ZEF_SCENARIO_SEED replays it.
class OverlayScenarioTest : public ::testing::Test, protected zef::test::OverlayRoad {
protected:
    void SetUp() override {
        const char* seed = std::getenv("ZEF_SCENARIO_SEED");
        _seed = seed != nullptr ? static_cast<unsigned>(std::stoul(seed)) : std::random_device{}();
        _random.seed(_seed);
        std::printf("overlay scenario seed %u\n", _seed);
        StartAll();
    }

    uint32_t Pick(uint32_t count) { return std::uniform_int_distribution<uint32_t>(0, count - 1)(_random); }

    // A FIB of a few endpoints, each MAC behind one of them.
    void RandomFib(Switch& sw) {
        sw.vteps.clear();
        sw.macs.clear();
        const uint32_t vteps = Pick(4);
        for (uint32_t i = 0; i < vteps; ++i) {
            sw.vteps[4100 + Pick(6)] = 0x0A000000 + Pick(200);
        }
        if (sw.vteps.empty()) {
            return;
        }
        const uint32_t macs = Pick(6);
        for (uint32_t i = 0; i < macs; ++i) {
            auto vtep = std::next(sw.vteps.begin(), Pick(static_cast<uint32_t>(sw.vteps.size())));
            sw.macs[0x005056000000ull + Pick(40)] = vtep->first;
        }
        sw.hasFib = true;
    }

    std::string Entry(const char* op, const char* type, const std::string& object) {
        return std::string(R"({")") + op + R"(":{"type":")" + type + R"(","object":)" + object + "}}";
    }

    // One change of the store, as entries of the round's transaction.
    void StoreChange(std::vector<std::string>& modify) {
        const uint64_t left = 1 + Pick(kSwitches);
        auto known = _store.switches.find(left);
        const std::string id = R"({"id":{"left":")" + std::to_string(left) + R"(","right":"1"}})";
        if (known == _store.switches.end()) {
            Switch sw;
            sw.vni = 5000 + static_cast<uint32_t>(left);
            RandomFib(sw);
            modify.push_back(Entry("put", "LOG_SWITCH_CONFIG", OverlayStore::SwitchJson(left, sw)));
            if (sw.hasFib) {
                modify.push_back(Entry("put", "LOG_SWITCH_FIB", OverlayStore::FibJson(left, sw)));
            }
            _store.switches[left] = sw;
            return;
        }
        Switch& sw = known->second;
        switch (Pick(4)) {
            case 0:
                // A switch that goes takes its ports, so the module leaves its VNI.
                modify.push_back(Entry("delete", "LOG_SWITCH_FIB", id));
                modify.push_back(Entry("delete", "LOG_SWITCH_CONFIG", id));
                if (_store.joined.erase(sw.vni) != 0) {
                    _leaves.push_back(sw.vni);
                }
                _store.switches.erase(known);
                return;
            case 1:
                if (sw.hasFib) {
                    modify.push_back(Entry("delete", "LOG_SWITCH_FIB", id));
                    sw = Switch{sw.vni, {}, {}, false};
                }
                return;
            default:
                RandomFib(sw);
                if (sw.hasFib) {
                    modify.push_back(Entry("put", "LOG_SWITCH_FIB", OverlayStore::FibJson(left, sw)));
                }
                return;
        }
    }

    // The module joins or leaves the VNI of a random switch.
    void KernelChange() {
        if (_store.switches.empty()) {
            return;
        }
        auto sw = std::next(_store.switches.begin(), Pick(static_cast<uint32_t>(_store.switches.size())));
        const uint32_t vni = sw->second.vni;
        if (_store.joined.insert(vni).second) {
            Join(vni);
        } else {
            _store.joined.erase(vni);
            Leave(vni);
        }
    }

    void Round() {
        std::vector<std::string> modify;
        const uint32_t changes = 1 + Pick(4);
        for (uint32_t i = 0; i < changes; ++i) {
            StoreChange(modify);
        }
        for (uint32_t vni : _leaves) {
            Leave(vni);
        }
        _leaves.clear();
        if (!modify.empty()) {
            std::string body;
            for (const std::string& entry : modify) {
                body += (body.empty() ? "" : ",") + entry;
            }
            const std::string file = Root() + "/round.json";
            std::FILE* out = std::fopen(file.c_str(), "w");
            ASSERT_NE(out, nullptr);
            std::fprintf(out, R"({"vdb":[1],"modify":[%s]})", body.c_str());
            std::fclose(out);
            Store({"apply", file});
        }
        const uint32_t joins = Pick(3);
        for (uint32_t i = 0; i < joins; ++i) {
            KernelChange();
        }
    }

    unsigned _seed = 0;
    std::mt19937 _random;
    OverlayStore _store;
    std::vector<uint32_t> _leaves;
};

TEST_F(OverlayScenarioTest, TheModuleHoldsWhatTheStoreImpliesAfterEveryRound) {
    for (int round = 0; round < kRounds; ++round) {
        Round();
        Overlay last;
        ASSERT_TRUE(PollOverlay(ExpectedOverlay(_store), last))
            << "seed " << _seed << " round " << round << "\nexpected " << ::testing::PrintToString(ExpectedOverlay(_store))
            << "\nkernel " << ::testing::PrintToString(last);
    }
}

}  // namespace
