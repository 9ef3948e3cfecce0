#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <memory>
#include <string>

namespace boost::asio {
class io_context;
}

namespace zef {

namespace metrics {
class MetricsRegistry;
}
namespace rpc {
class RpcRuntime;
}
class TimerFactory;

// The event loop and factory of a host daemon: RPC, metrics and timers. Its
// Run blocks until SIGTERM or SIGINT arrives or Stop is called.
class AsioZefProvider {
public:
    struct Options {};

    AsioZefProvider(const Options& options, const boost::property_tree::ptree& config,
                    const std::string& name);
    ~AsioZefProvider();
    AsioZefProvider(const AsioZefProvider&) = delete;
    AsioZefProvider& operator=(const AsioZefProvider&) = delete;

    rpc::RpcRuntime& rpc();
    metrics::MetricsRegistry& metrics();
    TimerFactory& timers();

    // Runs the provider's loop on `threads` threads, the calling one included.
    void Run(int threads);
    // Makes Run return; callable from any thread.
    void Stop();

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

}  // namespace zef
