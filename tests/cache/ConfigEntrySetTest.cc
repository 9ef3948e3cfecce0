#include "cache/ConfigEntrySet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

namespace {

using namespace CfgAgent;

// The rows as a plain list: what the set must answer, whatever its layout.
class Model {
public:
    void Insert(const ConfigEntry& entry) { rows.push_back(entry); }

    std::vector<ConfigEntry> Erase(auto matches) {
        std::vector<ConfigEntry> erased;
        std::erase_if(rows, [&](const ConfigEntry& row) {
            if (!matches(row)) {
                return false;
            }
            erased.push_back(row);
            return true;
        });
        return erased;
    }
    std::vector<ConfigEntry> Select(auto matches) const {
        std::vector<ConfigEntry> found;
        std::copy_if(rows.begin(), rows.end(), std::back_inserter(found), matches);
        return found;
    }
    size_t Bytes() const {
        size_t bytes = 0;
        for (const ConfigEntry& row : rows) {
            bytes += row.Bytes();
        }
        return bytes;
    }

    std::vector<ConfigEntry> rows;
};

// Rows compared as sets: the set's order is its own.
std::vector<std::tuple<std::string, uint32_t, uint32_t, std::string, uint32_t>> Sorted(
    const std::vector<ConfigEntry>& rows) {
    std::vector<std::tuple<std::string, uint32_t, uint32_t, std::string, uint32_t>> out;
    for (const ConfigEntry& row : rows) {
        out.emplace_back(row.objectId, row.objectType, row.propertyType, row.value, row.fullSyncVersion);
    }
    std::sort(out.begin(), out.end());
    return out;
}

// Random operations on few ids, types and properties, so that ids shared by
// several types, objects without their own row and emptied objects all
// occur; every answer is checked against the model.
TEST(ConfigEntrySetTest, AnswersAsAPlainListOfRowsWould) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    ConfigEntrySet set;
    Model model;
    auto id = [&] { return "id-" + std::to_string(random() % 12); };
    auto type = [&] { return random() % 3 + 1; };
    auto property = [&] { return random() % 4; };
    for (int step = 0; step < 20000; ++step) {
        const std::string objectId = id();
        const uint32_t objectType = type();
        const uint32_t prop = property();
        switch (random() % 8) {
            case 0:
            case 1: {
                // As the table does: one row per (id, type, property).
                if (model.Select([&](const ConfigEntry& r) {
                        return r.objectId == objectId && r.objectType == objectType && r.propertyType == prop;
                    }).empty()) {
                    const ConfigEntry entry{objectId, objectType, prop,
                                            prop == 0 ? "" : std::string(random() % 30, 'v'),
                                            static_cast<uint32_t>(random() % 4)};
                    set.Insert(entry);
                    model.Insert(entry);
                }
                break;
            }
            case 2:
                ASSERT_EQ(Sorted(set.EraseObject(objectId, objectType)),
                          Sorted(model.Erase([&](const ConfigEntry& r) {
                              return r.objectId == objectId && r.objectType == objectType;
                          })));
                break;
            case 3:
                ASSERT_EQ(Sorted(set.EraseProperty(objectId, prop)),
                          Sorted(model.Erase([&](const ConfigEntry& r) {
                              return r.objectId == objectId && r.propertyType == prop;
                          })));
                break;
            case 4: {
                const uint32_t version = static_cast<uint32_t>(random() % 4);
                if (random() % 20 == 0) {
                    ASSERT_EQ(Sorted(set.EraseOlderThan(version)),
                              Sorted(model.Erase([&](const ConfigEntry& r) { return r.fullSyncVersion < version; })));
                } else {
                    set.Confirm(objectId, objectType, prop, version);
                    for (ConfigEntry& r : model.rows) {
                        if (r.objectId == objectId && r.objectType == objectType && r.propertyType == prop) {
                            r.fullSyncVersion = version;
                        }
                    }
                }
                break;
            }
            case 5: {
                const std::string* value = set.FindValue(objectId, objectType, prop);
                const auto rows = model.Select([&](const ConfigEntry& r) {
                    return r.objectId == objectId && r.objectType == objectType && r.propertyType == prop;
                });
                ASSERT_EQ(value != nullptr, !rows.empty());
                if (value != nullptr) {
                    ASSERT_EQ(*value, rows.front().value);
                }
                ASSERT_EQ(set.HasObject(objectId, objectType),
                          !model.Select([&](const ConfigEntry& r) {
                               return r.objectId == objectId && r.objectType == objectType;
                           }).empty());
                break;
            }
            case 6:
                ASSERT_EQ(Sorted(set.ByType(objectType, prop)), Sorted(model.Select([&](const ConfigEntry& r) {
                              return r.objectType == objectType && r.propertyType == prop;
                          })));
                ASSERT_EQ(Sorted(set.ById(objectId)),
                          Sorted(model.Select([&](const ConfigEntry& r) { return r.objectId == objectId; })));
                ASSERT_EQ(Sorted(set.ByIdAndType(objectId, objectType)),
                          Sorted(model.Select([&](const ConfigEntry& r) {
                              return r.objectId == objectId && r.objectType == objectType;
                          })));
                break;
            default: {
                // Which row a value goes to is the set's choice when an id
                // has the property under two types; with one, it is not.
                auto matches = [&](const ConfigEntry& r) { return r.objectId == objectId && r.propertyType == prop; };
                if (prop != 0 && model.Select(matches).size() == 1) {
                    const std::string value(random() % 30, 'w');
                    set.SetValue(objectId, prop, value);
                    std::find_if(model.rows.begin(), model.rows.end(), matches)->value = value;
                }
                break;
            }
        }
        ASSERT_EQ(set.Count(), model.rows.size());
        ASSERT_EQ(set.Bytes(), model.Bytes());
    }
    EXPECT_EQ(Sorted(set.All()), Sorted(model.rows));
}

}  // namespace
