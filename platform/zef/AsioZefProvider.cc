#include "zef/AsioZefProvider.h"

#include <pthread.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/property_tree/ptree.hpp>
#include <csignal>
#include <thread>
#include <vector>

#include "log/zef/Logger.h"
#include "zef/TimerFactory.h"
#include "zef/metrics/MetricsRegistry.h"
#include "zef/rpc/RpcRuntime.h"

namespace zef {

struct AsioZefProvider::Impl {
    boost::asio::io_context context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{
        context.get_executor()};
    // Made at construction, so a signal that arrives before Run still ends it.
    boost::asio::signal_set signals{context, SIGTERM, SIGINT};
    metrics::MetricsRegistry metrics;
    TimerFactory timers{context};
    rpc::RpcRuntime rpc;
    std::string name;
};

AsioZefProvider::AsioZefProvider(const Options&, const boost::property_tree::ptree&,
                                 const std::string& name)
    : _impl(std::make_unique<Impl>()) {
    _impl->name = name;
    _impl->signals.async_wait([this](const boost::system::error_code& error, int signal) {
        if (!error) {
            ZEF_LIB_LOG(Logger::logLevel, LIB_LOG_INFO).put("Received signal %d, stopping", signal);
            Stop();
        }
    });
}

AsioZefProvider::~AsioZefProvider() = default;

rpc::RpcRuntime& AsioZefProvider::rpc() { return _impl->rpc; }

metrics::MetricsRegistry& AsioZefProvider::metrics() { return _impl->metrics; }

TimerFactory& AsioZefProvider::timers() { return _impl->timers; }

void AsioZefProvider::Run(int threads) {
    std::vector<std::thread> extra;
    for (int i = 1; i < threads; ++i) {
        extra.emplace_back([this] {
            pthread_setname_np(pthread_self(), "zef-provider");
            _impl->context.run();
        });
    }
    _impl->context.run();
    for (std::thread& thread : extra) {
        thread.join();
    }
}

void AsioZefProvider::Stop() {
    _impl->work.reset();
    _impl->context.stop();
}

}  // namespace zef
