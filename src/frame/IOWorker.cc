#include "frame/IOWorker.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

namespace CfgAgent {

struct IOWorker::Guard {
    explicit Guard(boost::asio::io_context& context) : work(context.get_executor()) {}
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work;
};

IOWorker::IOWorker(boost::asio::io_context& context)
    : _context(context), _guard(std::make_unique<Guard>(context)) {}

IOWorker::~IOWorker() = default;

void IOWorker::Run() { _context.run(); }

void IOWorker::ReleaseGuard() { _guard.reset(); }

}  // namespace CfgAgent
