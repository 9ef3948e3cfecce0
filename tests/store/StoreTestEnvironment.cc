#include <gtest/gtest.h>

#include "log/LogLevel.h"

namespace StoreTest {
namespace {

// Decoders log every update; only the cases that read the lines want them.
class QuietConsole : public ::testing::Environment {
public:
    void SetUp() override { CfgAgent::LogLevel::console.store(0); }
};

[[maybe_unused]] ::testing::Environment* const quiet =
    ::testing::AddGlobalTestEnvironment(new QuietConsole);

}  // namespace
}  // namespace StoreTest
